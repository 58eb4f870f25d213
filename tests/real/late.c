/* Calls the library, and again when the process ends and what was made for the first calls has
 * gone. */
#include <TermsAPI.h>
#include <stdio.h>
#include <stdlib.h>

static void ask(void) {
    printf("%d %d\n", IsServiceAvailable(), GetDisclaimerItemAgreement("privacy_policy"));
}

int main(void) {
    atexit(ask);
    ask();
    return 0;
}
