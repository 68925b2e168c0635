// Part of every test program of a cross build. A test that starts its own program anew, as death
// tests do, would ask the kernel for a processor that it does not have; the script asks the
// emulator.
#include <unistd.h>

extern "C" int execv(const char*, char* const arguments[]) {
    return execve(EMULATED_PROGRAM, arguments, environ);
}
