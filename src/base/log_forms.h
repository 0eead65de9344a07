// The two forms of a log line. Both name the emitting function, so they are macros: a line belongs
// in the function whose name it is to print. A helper that logs for its callers takes their name
// as a defaulted parameter, FUNCTION = __builtin_FUNCTION(), and uses the _AS forms.
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
#define UPLINKD_TRACE_AS(function, level, format, ...)                                             \
    savelog(level, "[uplinkd] %s--%d: " format, function, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define UPLINKD_TRACE(level, format, ...)                                                          \
    UPLINKD_TRACE_AS(__func__, level, format __VA_OPT__(, ) __VA_ARGS__)

// Debug form: to the console with -D, to the log at LOG_DEBUG_FALLBACK otherwise.
#define UPLINKD_DEBUG_AS(function, format, ...)                                                    \
    do {                                                                                           \
        if (uplinkd_debug_mode == 1)                                                               \
            console_line(function, __LINE__, format __VA_OPT__(, ) __VA_ARGS__);                   \
        else                                                                                       \
            savelog(LOG_DEBUG_FALLBACK, "[uplinkd] %s: " format,                                   \
                    function __VA_OPT__(, ) __VA_ARGS__);                                          \
    } while (0)
#define UPLINKD_DEBUG(format, ...) UPLINKD_DEBUG_AS(__func__, format __VA_OPT__(, ) __VA_ARGS__)

// Three writes to standard output: the prefix, the text, a newline. Control characters in the text
// are shown as '?'. A console that is gone, or that nobody reads, loses the line.
[[gnu::format(printf, 3, 4)]] void console_line(const char *function, int line, const char *format,
                                                ...);
