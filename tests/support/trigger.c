/* Triggers the service, says that the call has returned, and stays until a signal ends it. */
#include <TermsAPI.h>
#include <stdio.h>
#include <unistd.h>

int main(void) {
    TriggerTermsService();
    puts("returned");
    fflush(stdout);
    pause();
    return 0;
}
