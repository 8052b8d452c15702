// How the program ends when it can trust itself no longer; these names are called by compiled-in checks and by the runtime. The
// runtime's own versions cost more, measured under Wine: its stack guard asks the system's cryptography for a number, which loads
// three libraries and takes 2 to 5 ms of the 60 ms to the first window; its last words about an exception bring 57 KiB of code that
// reads compiled names, a fifth of the program without its resources.
#include <windows.h>

#include <cstdint>
#include <exception>

namespace {

/// Ends the process at once: nothing of it can be trusted, so that no handler runs. Windows 7 does not know the interrupt and takes
/// it for an access violation, which ends the process too.
[[noreturn]] void FailFast(unsigned reason) {
    asm volatile("int $0x29" : : "c"(reason));
    __builtin_unreachable();
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming): the compiler chose these names.
extern "C" {

void* __stack_chk_guard = nullptr;

/// A function found its frame overwritten.
[[noreturn]] void __stack_chk_fail() { FailFast(FAST_FAIL_STACK_COOKIE_CHECK_FAILURE); }

/// A copy was about to write beyond the end of its buffer.
[[noreturn]] void __chk_fail() { FailFast(FAST_FAIL_RANGE_CHECK_FAILURE); }

#ifdef __i386__
/// Something throws. 32-bit code has tables for that, which the runtime's own version of this function enters in a list as soon as
/// a library is loaded; the lock that it takes for it leaves two handles behind each time the library is unloaded.
[[noreturn]] const void* _Unwind_Find_FDE(void*, void*) { FailFast(FAST_FAIL_FATAL_APP_EXIT); }
#endif

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

/// Nothing throws here; what the standard library reports by an exception ends the program.
void __gnu_cxx::__verbose_terminate_handler() { FailFast(FAST_FAIL_FATAL_APP_EXIT); }

namespace {

/// The steps of SplitMix64: every bit of the result depends on every bit given.
std::uint64_t Mixed(std::uint64_t bits) {
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31);
}

/// Runs before all other initialisation, and checks nothing itself since it changes what a check compares with.
[[gnu::constructor(101), gnu::no_stack_protector]] void ChooseGuard() {
    LARGE_INTEGER counter{};
    FILETIME now{};
    QueryPerformanceCounter(&counter);
    GetSystemTimeAsFileTime(&now);
    std::uint64_t bits = Mixed(static_cast<std::uint64_t>(counter.QuadPart));
    bits               = Mixed(bits ^ (std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime));
    bits               = Mixed(bits ^ (std::uint64_t{GetCurrentProcessId()} << 32 | GetCurrentThreadId()));
    bits               = Mixed(bits ^ reinterpret_cast<std::uintptr_t>(&now));
    bits               = Mixed(bits ^ reinterpret_cast<std::uintptr_t>(&ChooseGuard));
    // The lowest byte stays zero: a text that runs over cannot write it and go on.
    __stack_chk_guard = reinterpret_cast<void*>(static_cast<std::uintptr_t>(bits) & ~std::uintptr_t{0xFF});
}

}  // namespace
