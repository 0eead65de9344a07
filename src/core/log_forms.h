// The two forms of a log line. Both name the emitting function, so they are macros: a line belongs
// in the function whose name it is to print, not in a helper that was split off.
#pragma once

#include "platform/log.h"

// 1 with the option -D: debug lines go to the console instead of the log. Written before the
// second thread starts, only read afterwards.
extern int uplinkd_debug_mode;

// Routine lines and rejected parameters have levels of their own; events and errors have level 0.
inline constexpr int LOG_EVENT = 0;
inline constexpr int LOG_REJECTED = 1;
inline constexpr int LOG_DEBUG_FALLBACK = 3;
inline constexpr int LOG_ROUTINE = 4;

// Trace form: always to the log, at the level given.
#define LOG_TRACE(level, format, ...)                                                              \
    savelog(level, "[uplinkd] %s--%d: " format, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

// Debug form: to the console with -D, to the log at LOG_DEBUG_FALLBACK otherwise.
#define LOG_DEBUG(format, ...)                                                                     \
    do {                                                                                           \
        if (uplinkd_debug_mode == 1)                                                               \
            console_line(__func__, __LINE__, format __VA_OPT__(, ) __VA_ARGS__);                   \
        else                                                                                       \
            savelog(LOG_DEBUG_FALLBACK, "[uplinkd] %s: " format,                                   \
                    __func__ __VA_OPT__(, ) __VA_ARGS__);                                          \
    } while (0)

// Three writes to standard output: the prefix, the text, a newline.
[[gnu::format(printf, 3, 4)]] void console_line(const char *function, int line, const char *format,
                                                ...);
