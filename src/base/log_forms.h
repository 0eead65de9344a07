// The two forms of a log line. Both name the emitting function, and all but the debug form in the
// log its source line, so they are macros: a line belongs in the function whose name it is to
// print. A helper that logs for its callers takes their place in the source as a defaulted
// parameter, `log_site site = caller_site()`, and uses the _AT macros.
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

// The place in the source that a line names.
struct log_site {
    const char *function;
    int line;
};
constexpr log_site caller_site(const char *function = __builtin_FUNCTION(),
                               int line = __builtin_LINE()) {
    return {function, line};
}

// Trace form: always to the log, at the level given.
#define UPLINKD_TRACE_AT(site, level, format, ...)                                                 \
    savelog(level, "[uplinkd] %s--%d: " format, (site).function,                                   \
            (site).line __VA_OPT__(, ) __VA_ARGS__)
#define UPLINKD_TRACE(level, format, ...)                                                          \
    savelog(level, "[uplinkd] %s--%d: " format, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

// Debug form: to the console with -D, to the log at LOG_DEBUG_FALLBACK otherwise.
#define UPLINKD_DEBUG_AT(site, format, ...)                                                        \
    do {                                                                                           \
        if (uplinkd_debug_mode == 1)                                                               \
            console_line(site, format __VA_OPT__(, ) __VA_ARGS__);                                 \
        else                                                                                       \
            savelog(LOG_DEBUG_FALLBACK, "[uplinkd] %s: " format,                                   \
                    (site).function __VA_OPT__(, ) __VA_ARGS__);                                   \
    } while (0)
#define UPLINKD_DEBUG(format, ...)                                                                 \
    UPLINKD_DEBUG_AT((log_site{__func__, __LINE__}), format __VA_OPT__(, ) __VA_ARGS__)

// For texts that are logged in both forms, each of which has all of them in their order:
//     for (const log_form form : BOTH_FORMS) { UPLINKD_LOG(form, ...); UPLINKD_LOG(form, ...); }
enum class log_form { debug, trace };
inline constexpr log_form BOTH_FORMS[] = {log_form::debug, log_form::trace};
#define UPLINKD_LOG(form, format, ...)                                                             \
    do {                                                                                           \
        if ((form) == log_form::debug)                                                             \
            UPLINKD_DEBUG(format __VA_OPT__(, ) __VA_ARGS__);                                      \
        else                                                                                       \
            UPLINKD_TRACE(LOG_EVENT, format __VA_OPT__(, ) __VA_ARGS__);                           \
    } while (0)

// Three writes to standard output: the prefix, the text, a newline. Control characters in the text
// are shown as '?', but for tabs and newlines, which the daemon's own texts hold too; it is cut
// after 1023 bytes. A console that is gone loses the line; one that nobody reads is given 3 ms,
// once a second at the most, and loses lines otherwise.
[[gnu::format(printf, 2, 3)]] void console_line(const log_site &site, const char *format, ...);
