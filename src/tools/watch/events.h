// The events that uplinkctl watch and record show, one line each: as JSON (docs/recordings.md), or
// for people. Nothing here decides what happened; it only says it.
#pragma once

#include <string_view>

namespace events {

enum class form { people, json };

// Once, first: how lines are written, and for a recording whether addresses are replaced.
void begin(form wanted, bool is_private);

// Events from now on are new, not the state at the start.
void go_live();

// Null values: none is known, or a setting that is missing.
void setting(const char *name, const char *old_value, const char *new_value);
void item(int id, const char *old_value, const char *new_value);
void flag(const char *name, const char *old_value, const char *new_value);
void file(const char *name, bool was_there, bool is_there, const char *path);
void daemon(int pid, const char *state);
void client(const char *program, int wan, int pid, const char *state);
void decision(int wan_mode, int strategy, int priority, const char *rule, const char *words);
void batch_run(std::string_view owner, std::string_view script);
void batch_done(std::string_view owner, long long microseconds);
void missed(const char *what, const char *name);
void overflow();

// A line of the log; one that says that the daemon received or sent a message is shown as that.
void log_line(std::string_view line);

// The same for a line of some time ago, shown with its own time.
void past_line(std::string_view line);
void go_live_quietly();

// A PPP user name or password, which is to be in no line from now on.
void keep_secret(const char *value);

// Microseconds of a clock that nobody sets.
long long now();

} // namespace events
