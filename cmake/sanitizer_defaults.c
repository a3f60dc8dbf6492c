/*
 * How the address sanitizer is to work in each program of this build. It guesses where the thread-local memory of a
 * library begins that was loaded later, takes 16 bytes behind the start of a page for a sign of a very old libc, and
 * then looks for leaks at an address out of thin air: with one such block in 128 it ends a good program with "Tracer
 * caught signal 11". Told not to guess, it finds these blocks all the same, as memory that the loader has allocated.
 */
__attribute__((visibility("default"))) const char* __asan_default_options(void);
const char* __asan_default_options(void)
{
    return "intercept_tls_get_addr=0";
}
