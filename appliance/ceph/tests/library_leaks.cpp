// What the leak sanitizer is not to tell: the library keeps its one client of the cluster until the process ends.
#if defined(__SANITIZE_ADDRESS__)

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libcephsqlite.so\n";
}

#endif
