// The router's log. Any thread may log at any time; levels count from 0, the most important.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Names the program in every line that follows. Called once, first thing.
void init_log_params(const char *identity);

// Logs one message at LEVEL if the configured level admits it.
void savelog(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));

// Looks up the configured level again. Cheap; called every few seconds.
void reset_libcommlog_level(void);

// Copies the log to where it survives, with the REASON. Returns 0 or -1.
int log_bakup_imediately(const char *reason);

#ifdef __cplusplus
}
#endif
