/* A bus caller in C: sends a server a text, some bytes and an announcement.

     c-bus-caller OWN_NAME SERVER_NAME */
#include <TermsDbusAPI.h>
#include <stdio.h>

static int call(const char* own, const char* server, char* type, char* text, uint8_t* bytes,
                uint32_t size) {
    TermsDbusMessage request;
    TermsDbusMessage reply;
    InitiateTermsDbusMessage(&request, "caller", 1, type, text, bytes, size);
    InitiateTermsDbusMessage(&reply, NULL, 0, NULL, NULL, NULL, 0);
    if (!SendTermsDbusSyncMessage(own, server, &request, &reply, -1) || reply.message == NULL) {
        fprintf(stderr, "No answer from %s: start it first.\n", server);
        return 0;
    }
    printf("%s answers: %s", reply.from, reply.message);
    for (uint32_t i = 0; i < reply.buffer_size; ++i) {
        printf(" %02x", reply.buffer[i]);
    }
    printf("\n");
    ReleaseTermsDbusMessage(&reply);
    return 1;
}

int main(int argc, char** argv) {
    uint8_t bytes[] = {0x00, 0x01, 0xfe, 0xff};
    if (argc != 3) {
        fputs("Give an own bus name and the server's.\n", stderr);
        return 2;
    }
    const char* own = argv[1];
    const char* server = argv[2];
    InitiateTermsDbusServer(own);
    if (!CreateTermsDbusServer(own)) {
        fprintf(stderr, "The bus does not give \"%s\": the log says why.\n", own);
        return 1;
    }
    const int done = call(own, server, "text", "hello", NULL, 0) &&
                     call(own, server, "bytes", "these bytes", bytes, sizeof bytes) &&
                     call(own, server, "announce", "tell them all", NULL, 0);
    CloseTermsDbusServer(own);
    return done ? 0 : 1;
}
