// What Debian's libstdc++ and libgcc, built for glibc, ask of the C library, on musl. Only tests
// need these libraries.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <link.h>
#include <locale.h>
#include <pthread.h>
#include <sys/auxv.h>

namespace {

// glibc's locale, from which libstdc++ takes classes and cases of characters without asking. musl's
// own begins with pointers, too, and takes null for "C".
struct c_locale {
    const void *categories[13];
    const unsigned short *classes;
    const int *lower, *upper;
    const char *names[13];
};

struct unwinding {
    unsigned long long flags;
    void *begin, *end;
    link_map *object;
    const void *table;
    unsigned long long reserved[7];
};

struct search {
    uintptr_t address;
    unwinding &found;
};

// Stops at the object that holds the address.
int look_at_object(dl_phdr_info *object, size_t, void *argument) {
    const search &sought = *static_cast<search *>(argument);
    bool holds = false;
    const void *table = nullptr;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const auto &part = object->dlpi_phdr[i];
        const uintptr_t begin = object->dlpi_addr + part.p_vaddr;
        if (part.p_type == PT_LOAD && sought.address - begin < part.p_memsz)
            holds = true;
        if (part.p_type == PT_GNU_EH_FRAME)
            table = reinterpret_cast<const void *>(begin);
    }
    if (!holds || table == nullptr)
        return 0;
    sought.found.table = table;
    return 1;
}

// What a thread destroys when it ends, the youngest first.
struct doomed {
    void (*destroy)(void *);
    void *object;
    doomed *older;
};

void destroy_all(void *youngest) {
    for (doomed *next = static_cast<doomed *>(youngest); next != nullptr;) {
        const doomed present = *next;
        delete next;
        present.destroy(present.object);
        next = present.older;
    }
}

} // namespace

extern "C" {

// musl has glibc's tables, for programs that were built for glibc.
const unsigned short **__ctype_b_loc();
const int **__ctype_tolower_loc();
const int **__ctype_toupper_loc();

char __libc_single_threaded = 0;

locale_t __wrap___newlocale(int, const char *, locale_t) {
    static c_locale c{{}, *__ctype_b_loc(), *__ctype_tolower_loc(), *__ctype_toupper_loc(), {}};
    return reinterpret_cast<locale_t>(&c);
}

// These some versions of musl have, or have for themselves where they are linked statically.
#undef fseeko64
#undef ftello64
__attribute__((weak)) int fseeko64(FILE *file, off_t offset, int whence) {
    return fseeko(file, offset, whence);
}

__attribute__((weak)) off_t ftello64(FILE *file) {
    return ftello(file);
}

__attribute__((weak)) size_t __strftime_l(char *text, size_t size, const char *form, const tm *time,
                                          locale_t locale) {
    return strftime_l(text, size, form, time, locale);
}

__attribute__((weak)) unsigned long __getauxval(unsigned long type) {
    return getauxval(type);
}

int _dl_find_object(void *address, unwinding *found) {
    search sought{reinterpret_cast<uintptr_t>(address), *found};
    return dl_iterate_phdr(look_at_object, &sought) == 1 ? 0 : -1;
}

int __cxa_thread_atexit_impl(void (*destroy)(void *), void *object, void *) {
    static const pthread_key_t key = [] {
        pthread_key_t made;
        pthread_key_create(&made, destroy_all);
        return made;
    }();
    void *const others = pthread_getspecific(key);
    return pthread_setspecific(key, new doomed{destroy, object, static_cast<doomed *>(others)});
}

unsigned long __isoc23_strtoul(const char *text, char **end, int base) {
    return strtoul(text, end, base);
}

} // extern "C"
