// The header-only parts of the C++ library call std::__throw_out_of_range_fmt where they would
// throw. Ending the program here keeps the runtime library, with its exceptions and their
// allocator, out of it, whatever the optimiser leaves of such calls; no code of ours can get here.
// Where a platform library brings the runtime library along, that one's own function counts (weak),
// and ours stays out of its way (hidden).

extern "C" [[gnu::weak, gnu::visibility("hidden"), gnu::used]] void
uplinkd_no_exceptions() __asm__("_ZSt24__throw_out_of_range_fmtPKcz");

void uplinkd_no_exceptions() {
    __builtin_trap();
}
