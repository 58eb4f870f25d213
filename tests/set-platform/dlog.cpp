extern "C" __attribute__((visibility("default"))) int __dlog_print(int /*log_id*/, int /*priority*/,
                                                                   const char* /*tag*/,
                                                                   const char* /*format*/, ...) {
    return 0;
}
