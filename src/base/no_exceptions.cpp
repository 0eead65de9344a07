// The header-only parts of the C++ library call this where they would throw. Ending the program
// here keeps the runtime library, with its exceptions and their allocator, out of it, whatever the
// optimiser leaves of such calls; no code of ours can get here. Where a platform library brings the
// runtime library along, that one's own function counts (weak), and ours stays out of its way
// (hidden).

#include <string_view>

namespace std {

__attribute__((weak)) void __throw_out_of_range_fmt(const char *, ...) {
    __builtin_trap();
}

// An attribute would come too late, after the library's own declaration.
__asm__(".hidden _ZSt24__throw_out_of_range_fmtPKcz");

} // namespace std
