/* Loads the library, has it ask on its thread, closes it at once, and loads it again when the
 * thread has ended. */
#include <dirent.h>
#include <dlfcn.h>
#include <stdio.h>
#include <unistd.h>

static int threads(void) {
    DIR* tasks = opendir("/proc/self/task");
    int count = -2; /* "." and ".." */
    while (readdir(tasks) != NULL) {
        ++count;
    }
    closedir(tasks);
    return count;
}

int main(void) {
    void* library = dlopen(LIBRARY, RTLD_NOW);
    void* (*get_instance)(void) = NULL;
    void (*trigger)(void) = NULL;
    *(void**)&get_instance = dlsym(library, "CSharpGetInstance");
    *(void**)&trigger = dlsym(library, "TriggerTermsService");
    const void* instance = get_instance();

    trigger();
    const int asking = threads(); /* a sanitizer may have one of its own */
    dlclose(library);
    puts("closed");
    fflush(stdout);
    while (threads() == asking) {
        usleep(1000);
    }
    library = dlopen(LIBRARY, RTLD_NOW);
    void** kept = dlsym(library, "pThis");
    puts(*kept == instance ? "the same instance" : "another instance");
    return 0;
}
