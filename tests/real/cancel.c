/* Cancels threads at random moments of their calls, as often as it is told, and tells what is left
 * behind in the process and in the store's folder, its second argument. With no arguments it
 * cancels one call that nobody answers. */
#include <TermsAPI.h>
#include <TermsDbusAPI.h>
#include <dirent.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <vconf.h>

void* CSharpGetInstance(void);
void CSharpDestroy(void);

static int entries(const char* path) {
    DIR* folder = opendir(path);
    int count = 0;
    while (readdir(folder) != NULL) {
        ++count;
    }
    closedir(folder);
    return count;
}

static void send(void) {
    TermsDbusMessage request = {"", 0, "", "", NULL, 0};
    TermsDbusMessage reply = {NULL, 0, NULL, NULL, NULL, 0};
    SendTermsDbusSyncMessage("handle", "com.velmora.tv.termsclient", &request, &reply, -1);
}

static void call(unsigned which) {
    switch (which % 7) {
        case 0:
            IsServiceAvailable();
            break;
        case 1:
            GetAllDisclaimerDetail(TERMS_REQUESTER_0, NULL, NULL);
            break;
        case 2:
            GetDisclaimerItemAgreement("privacy_policy");
            break;
        case 3:
            SetDisclaimerItemAgreement("privacy_policy", 1);
            break;
        case 4:
            CSharpDestroy();
            CSharpGetInstance();
            break;
        case 5:
            send();
            break;
        default:
            vconf_set_str("test/cancelled", "text");
    }
}

static void* call_for_ever(void* seed) {
    for (unsigned which = *(unsigned*)seed;; ++which) {
        call(which);
    }
    return NULL;
}

static void* ask(void* answer) {
    *(int*)answer = IsServiceAvailable();
    pthread_testcancel();
    *(int*)answer = -1; /* not cancelled */
    return NULL;
}

static void* ask_unwilling(void* answer) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, NULL);
    pthread_cancel(pthread_self());
    *(int*)answer = IsServiceAvailable();
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, NULL);
    pthread_testcancel();
    *(int*)answer = -1; /* not cancelled */
    return NULL;
}

static void end_in_one(TermsContentItem* item, void* answer) {
    pthread_cancel(pthread_self());
    pthread_testcancel();
    *(int*)answer = item->nOrder; /* not cancelled */
}

static void end_in_all(TermsContentItem** items, int count, void* answer) {
    end_in_one(items[count - 1], answer);
}

static void* end_in_callback(void* answer) {
    if (*(int*)answer == -2) {
        GetDisclaimerDetail("privacy_policy", end_in_one, answer);
    } else {
        GetAllDisclaimerDetail(TERMS_REQUESTER_0, end_in_all, answer);
    }
    *(int*)answer = 0; /* not cancelled */
    return NULL;
}

/* The answer that a thread got; what it was before when the thread gave its call up. */
static int answer_of(void* (*asks)(void*), int before, int cancelled) {
    int answer = before;
    pthread_t thread;
    pthread_create(&thread, NULL, asks, &answer);
    if (cancelled != 0) {
        pthread_cancel(thread);
    }
    pthread_join(thread, NULL);
    return answer;
}

static void cancel_at(unsigned moment) {
    const struct timespec pause = {0, 1000L * (moment % 3000)};
    unsigned first = moment;
    pthread_t thread;
    pthread_create(&thread, NULL, call_for_ever, &first);
    nanosleep(&pause, NULL);
    pthread_cancel(thread);
    pthread_join(thread, NULL);
}

int main(int count, char** arguments) {
    if (count == 1) { /* nobody answers */
        puts(answer_of(ask, -2, 1) == -2 ? "given up" : "answered");
        return 0;
    }
    InitiateTermsDbusServer("handle");
    CreateTermsDbusServer("com.example.Server");
    call(0);
    call(6);
    const int descriptors = entries("/proc/self/fd");
    const int stored = entries(arguments[2]);
    unsigned seed = 1;
    for (long i = strtol(arguments[1], NULL, 10); i > 0; --i) {
        cancel_at((unsigned)rand_r(&seed));
    }
    call(4);
    printf("%d descriptors more, %d files more, %d %d %d %d\n",
           entries("/proc/self/fd") - descriptors, entries(arguments[2]) - stored,
           IsServiceAvailable(), answer_of(ask_unwilling, -2, 1), answer_of(end_in_callback, -2, 0),
           answer_of(end_in_callback, -3, 0));
    return 0;
}
