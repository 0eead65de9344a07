// Stands before every C++ source of a musl build: Debian's libstdc++ was configured for glibc, and
// its headers find here what they take for granted, and no more of what musl does not have.
#pragma once

#include <features.h>

#ifdef __aarch64__ // the library's file streams hold a mutex, for which glibc has more room than
                   // musl
#define __DEFINED_pthread_mutex_t
typedef struct {
    union {
        int words[12];
        void *alignment;
    } all;
} pthread_mutex_t;
#endif

#define __GLIBC_PREREQ(major, minor) 0
#define _GLIBCXX_GTHREAD_USE_WEAK    0 // all of POSIX threads is in the C library
#define __locale_t                   locale_t

// Classes of characters, by glibc's bits (<bits/ctype_base.h>).
enum {
    _ISupper = 0x100,
    _ISlower = 0x200,
    _ISalpha = 0x400,
    _ISdigit = 0x800,
    _ISxdigit = 0x1000,
    _ISspace = 0x2000,
    _ISprint = 0x4000,
    _ISblank = 0x1,
    _IScntrl = 0x2,
    _ISpunct = 0x4,
};

#include <bits/c++config.h>

#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK
