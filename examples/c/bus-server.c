/* A bus server in C: owns a name, answers each message with its text and its bytes turned round,
   and sends the signal "Announcement" for a message of the type "announce".

     c-bus-server NAME

   It ends with SIGINT or SIGTERM. */
#include <TermsDbusAPI.h>
#include <glib-unix.h>
#include <glib.h>
#include <stdio.h>
#include <string.h>

static void acquired(void* name) {
    printf("%s is ours\n", (const char*)name);
}

static void lost(void* name) {
    printf("%s is another's\n", (const char*)name);
}

static int answer(const char* method, TermsDbusMessage* request, TermsDbusMessage* reply,
                  void* name) {
    if (request->message == NULL) {
        return 0; /* bytes of another type than the toolkit's; the caller gets the failure message
                   */
    }
    const uint32_t size = request->buffer_size;
    uint8_t* bytes = AllocateTermsDbusBuffer(size);
    if (bytes == NULL) {
        return 0;
    }
    for (uint32_t i = 0; i < size; ++i) {
        bytes[i] = request->buffer[size - 1 - i];
    }
    printf("%s from %s: %s, %u bytes\n", method, request->from, request->message, size);
    if (strcmp(request->type, "announce") == 0) {
        SendTermsDbusSignal(name, "Announcement", request);
    }
    /* The reply owns what it holds, and the library releases it. */
    InitiateTermsDbusMessage(reply, DuplicateTermsDbusText(name), request->code + 1,
                             DuplicateTermsDbusText("answer"),
                             DuplicateTermsDbusText(request->message), bytes, size);
    return 1;
}

static gboolean quit(void* loop) {
    g_main_loop_quit(loop);
    return G_SOURCE_CONTINUE;
}

int main(int argc, char** argv) {
    char* name = argc == 2 ? argv[1] : NULL;
    if (name == NULL) {
        fputs("Give the bus name to own, such as com.example.Server.\n", stderr);
        return 2;
    }
    setvbuf(stdout, NULL, _IOLBF, 0);
    GMainLoop* loop = g_main_loop_new(NULL, FALSE);
    g_unix_signal_add(SIGINT, quit, loop);
    g_unix_signal_add(SIGTERM, quit, loop);

    /* ISO C has no conversion from a function to void*, compilers do: hence __extension__. */
    InitiateTermsDbusServer("server");
    RegisterTermsDbusCallback("server", TERMS_DBUS_CALLBACK_NAME_ACQUIRED,
                              __extension__(void*) acquired, name);
    RegisterTermsDbusCallback("server", TERMS_DBUS_CALLBACK_NAME_LOST, __extension__(void*) lost,
                              name);
    RegisterTermsDbusCallback("server", TERMS_DBUS_CALLBACK_MESSAGE, __extension__(void*) answer,
                              name);
    const int created = CreateTermsDbusServer(name);
    if (created) {
        g_main_loop_run(loop);
    } else {
        fprintf(stderr, "The bus does not give \"%s\": the log says why.\n", name);
    }
    CloseTermsDbusServer("server");
    g_main_loop_unref(loop);
    return created ? 0 : 1;
}
