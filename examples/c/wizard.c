/* A set-up wizard in C: waits for the terms service, lists the terms, shows one, agrees to it and
   checks.

     c-wizard [ID [ATTEMPTS]]

   ATTEMPTS is how often it asks for the service, once a second. */
#include <TermsAPI.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

/* That texts end with a NUL takes a library built for it; its pkg-config file tells. */
#ifndef VERANTI_TERMINATE_TEXTS
#define VERANTI_TERMINATE_TEXTS 0
#endif

/* Every text of a record may be null. */
static const char* text(const char* maybe) {
    return maybe != NULL ? maybe : "";
}

static int wait_for_service(int attempts) {
    while (!IsServiceAvailable()) {
        if (--attempts <= 0) {
            return 0;
        }
        sleep(1);
    }
    return 1;
}

static void list(TermsContentItem** items, int count, void* user_data) {
    printf("%d terms:\n", count);
    for (int i = 0; i < count; ++i) {
        printf("  %-20s %s\n", text(items[i]->strItemId), text(items[i]->strTitle));
    }
    *(int*)user_data = count;
}

static void show(TermsContentItem* item, void* user_data) {
    printf("\n%s, version %s\n%s\n", text(item->strTitle), text(item->strVersion),
           text(item->strIntro));
    if (item->nDetailDataCount == 0 && text(item->strDetails)[0] != '[') {
        puts(text(item->strDetails)); /* prose */
    }
    for (int i = 0; i + 1 < item->nDetailDataCount; i += 2) {
        printf("- %s: %s\n", text(item->ppDetailData[i]), text(item->ppDetailData[i + 1]));
    }
    *(int*)user_data = 1;
}

int main(int argc, char** argv) {
    if (!VERANTI_TERMINATE_TEXTS) {
        fprintf(stderr,
                "The library's texts may not end: build it with -DVERANTI_TERMINATE_TEXTS=ON, and "
                "this program with its pkg-config file.\n");
        return EXIT_FAILURE;
    }
    const char* id = argc > 1 ? argv[1] : "privacy_policy";
    const int attempts = argc > 2 ? atoi(argv[2]) : 10;
    int listed = 0;
    int shown = 0;

    if (attempts < 1) {
        fprintf(stderr, "\"%s\" is no number of attempts: give 1 or more.\n", argv[2]);
        return EXIT_FAILURE;
    }
    if (!wait_for_service(attempts)) {
        fputs("The terms service does not answer: start it, then try again.\n", stderr);
        return EXIT_FAILURE;
    }
    GetAllDisclaimerDetail(TERMS_REQUESTER_0, list, &listed);
    if (listed == 0) {
        fputs("The terms service lists no terms.\n", stderr);
        return EXIT_FAILURE;
    }
    GetDisclaimerDetail(id, show, &shown);
    if (!shown) {
        fprintf(stderr, "There is no term \"%s\": give one of the list.\n", id);
        return EXIT_FAILURE;
    }
    SetDisclaimerItemAgreement(id, 1);
    if (!GetDisclaimerItemAgreement(id)) {
        fprintf(stderr, "The agreement to %s was not recorded.\n", id);
        return EXIT_FAILURE;
    }
    printf("\nAgreed to %s.\n", id);
    return EXIT_SUCCESS;
}
