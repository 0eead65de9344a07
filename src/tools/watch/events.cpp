#include "tools/watch/events.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <unistd.h>

#include "base/text.h"
#include "tools/cli.h"
#include "tools/last_batch.h"
#include "tools/log_lines.h"
#include "tools/names.h"
#include "tools/output.h"
#include "tools/router_state.h"
#include "tools/watch/secrets.h"

namespace events {

using log_lines::log_parts;
using log_lines::message;
using output::print;

namespace {

form lines_for = form::people;
bool replaces_addresses = false;
bool is_live = false;
bool has_colours = false;
text<32> past_time;       // what lines show instead of now
long long started = 0;    // by now()
long long started_at = 0; // microseconds since 1970

std::string_view filter(std::string_view text) {
    return secrets::leave_out(text, replaces_addresses);
}

// ---- lines of JSON

void open_line(const char *kind) {
    output::open(nullptr, '{');
    output::seconds_member("t", is_live ? now() - started : 0);
    output::word_member("kind", kind);
}

void close_line() {
    output::close('}');
    output::end_line();
}

void value_member(const char *name, const char *value) {
    if (value == nullptr)
        output::null_member(name);
    else
        output::text_member(name, value);
}

void change_members(const char *old_value, const char *new_value) {
    if (is_live)
        value_member("old", old_value);
    value_member("new", new_value);
}

// ---- lines for people, who have `uplinkctl status` for the state at the start

// The kind at the left, in its colour, and the time of day by the clock as it was at the start:
// lines stay in order when somebody sets it.
void print_heading(const char *kind, int colour) {
    const long long time = started_at + now() - started;
    const time_t seconds = static_cast<time_t>(time / 1000000);
    tm local;
    localtime_r(&seconds, &local);
    char clock[32];
    strftime(clock, sizeof clock, "%H:%M:%S", &local);
    snprintf(clock + strlen(clock), 8, ".%03lld", time / 1000 % 1000);
    const char *const shown_clock = past_time.empty() ? clock : past_time.c_str();
    if (has_colours)
        print("%s  \033[%dm%-8s\033[0m ", shown_clock, colour, kind);
    else
        print("%s  %-8s ", shown_clock, kind);
}

const char *shown(const char *value) {
    return value == nullptr || value[0] == '\0' ? "(none)" : value;
}

bool is_for_people() {
    return lines_for == form::people;
}

void print_change(const char *kind, int colour, const char *name, const char *old_value,
                  const char *new_value) {
    if (!is_live)
        return;
    print_heading(kind, colour);
    print("%s: ", name);
    output::put_plain(filter(shown(old_value)));
    output::put(" -> ");
    output::put_plain(filter(shown(new_value)));
    output::put("\n");
}

enum colours { RED = 31, GREEN = 32, YELLOW = 33, BLUE = 34, MAGENTA = 35, CYAN = 36 };

} // namespace

long long now() {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000000LL + time.tv_nsec / 1000;
}

void begin(form wanted, bool is_private) {
    lines_for = wanted;
    replaces_addresses = is_private;
    started = now();
    output::filter_texts(filter);
    const char *const no_colour = getenv("NO_COLOR");
    has_colours = isatty(STDOUT_FILENO) == 1 && (no_colour == nullptr || no_colour[0] == '\0');
    timespec time;
    clock_gettime(CLOCK_REALTIME, &time);
    started_at = time.tv_sec * 1000000LL + time.tv_nsec / 1000;
    if (is_for_people())
        return;
    tm utc;
    gmtime_r(&time.tv_sec, &utc);
    char clock[24], start[48];
    strftime(clock, sizeof clock, "%Y-%m-%dT%H:%M:%S", &utc);
    snprintf(start, sizeof start, "%s.%06ldZ", clock, time.tv_nsec / 1000);
    output::open(nullptr, '{');
    output::word_member("format", "uplinkd-events");
    output::number_member("version", 1);
    output::word_member("start", start);
    output::word_member("uplinkd", cli::VERSION);
    output::bool_member("private", is_private);
    close_line();
}

void go_live() {
    is_live = true;
    if (is_for_people()) {
        print_heading("watch", 0);
        print("what happens from now on; Ctrl-C ends it\n");
        return;
    }
    open_line("live");
    close_line();
}

void setting(const char *name, const char *old_value, const char *new_value) {
    if (is_for_people())
        return print_change("setting", BLUE, name, old_value, new_value);
    open_line("setting");
    output::word_member("name", name);
    change_members(old_value, new_value);
    close_line();
}

void item(int id, const char *old_value, const char *new_value) {
    const names::name_text name = names::of_item(id);
    if (is_for_people())
        return print_change("item", GREEN, name.c_str(), old_value, new_value);
    open_line("item");
    output::number_member("id", id);
    output::word_member("name", name.c_str());
    change_members(old_value, new_value);
    close_line();
}

void flag(const char *name, const char *old_value, const char *new_value) {
    if (is_for_people())
        return print_change("flag", BLUE, name, old_value, new_value);
    open_line("flag");
    output::word_member("name", name);
    change_members(old_value, new_value);
    close_line();
}

void file(const char *name, bool was_there, bool is_there, const char *path) {
    if (is_for_people()) {
        if (!is_live)
            return;
        print_heading("file", BLUE);
        print("%s %s\n", path, is_there ? "is there" : "is gone");
        return;
    }
    open_line("file");
    output::word_member("name", name);
    if (is_live)
        output::bool_member("old", was_there);
    output::bool_member("new", is_there);
    close_line();
}

void daemon(int pid, const char *state) {
    if (is_for_people()) {
        if (!is_live)
            return;
        print_heading("daemon", RED);
        print("uplinkd %s, pid %d\n", state, pid);
        return;
    }
    open_line("daemon");
    output::number_member("pid", pid);
    output::word_member("state", state);
    close_line();
}

void client(const char *program, int wan, int pid, const char *state) {
    if (is_for_people()) {
        if (!is_live)
            return;
        print_heading("client", CYAN);
        print("%s of WAN %d %s, pid %d\n", program, wan,
              strcmp(state, "background") == 0 ? "goes on in the background" : state, pid);
        return;
    }
    open_line("client");
    output::word_member("client", program);
    output::number_member("wan", wan);
    output::number_member("pid", pid);
    output::word_member("state", state);
    close_line();
}

void decision(int wan_mode, int strategy, int priority, const char *rule, const char *words) {
    if (is_for_people()) {
        if (!is_live)
            return;
        print_heading("why", RED);
        print("%d, %s: %s\n", priority, router::priority_text(priority), words);
        return;
    }
    open_line("decision");
    output::number_member("wan_mode", wan_mode);
    output::number_member("strategy", strategy);
    output::number_member("priority", priority);
    output::word_member("rule", rule);
    output::text_member("text", words);
    close_line();
}

void batch_run(std::string_view owner, std::string_view script) {
    if (is_for_people()) {
        print_heading("batch", YELLOW);
        output::put_plain(owner);
        output::put("\n");
        while (!script.empty()) {
            const std::string_view line = take_line(script);
            if (!is_command(line))
                continue;
            print("%24s$ ", "");
            output::put_plain(filter(line));
            output::put("\n");
        }
        return;
    }
    open_line("batch");
    output::word_member("state", "run");
    output::word_member("owner", owner);
    output::open("lines", '[');
    while (!script.empty())
        output::text_member(nullptr, take_line(script));
    output::close(']');
    close_line();
}

void batch_done(std::string_view owner, long long microseconds) {
    if (is_for_people()) {
        print_heading("batch", YELLOW);
        output::put_plain(owner);
        print(" done in %lld.%03lld s\n", microseconds / 1000000, microseconds / 1000 % 1000);
        return;
    }
    open_line("batch");
    output::word_member("state", "done");
    output::word_member("owner", owner);
    output::seconds_member("seconds", microseconds);
    close_line();
}

void missed(const char *what, const char *name) {
    if (is_for_people()) {
        print_heading(what, RED);
        print("%s: written again before the first value could be read\n", name);
        return;
    }
    open_line("missed");
    output::word_member("what", what);
    output::word_member("name", name);
    close_line();
}

void overflow() {
    if (is_for_people()) {
        print_heading("LOST", RED);
        print("the kernel's queue was full; the state is read anew\n");
        return;
    }
    open_line("overflow");
    close_line();
}

void keep_secret(const char *value) {
    secrets::add(value);
}

// ---- the log

namespace {

void message_line(const log_parts &log, const message &seen) {
    const int id = static_cast<int>(seen.id);
    const int peer_size = static_cast<int>(seen.peer.size());
    if (is_for_people()) {
        print_heading(seen.is_received ? "received" : "sent", MAGENTA);
        print("%s %s %.*s%s\n", names::message_label(id).c_str(), seen.is_received ? "from" : "to",
              peer_size, seen.peer.data(), seen.is_received || seen.accepted ? "" : ", REFUSED");
        return;
    }
    open_line(seen.is_received ? "received" : "sent");
    output::text_member("time", log.time);
    output::number_member("pid", log.pid);
    output::number_member("id", seen.id);
    output::word_member("name", names::of_message(id).c_str());
    output::word_member(seen.is_received ? "from" : "to", seen.peer);
    if (!seen.is_received)
        output::bool_member("accepted", seen.accepted);
    close_line();
}

} // namespace

void log_line(std::string_view line) {
    const log_parts log = log_lines::split(line);
    message seen{};
    if (log_lines::find_message(log, seen))
        return message_line(log, seen);
    if (is_for_people()) {
        print_heading("log", 0);
        output::put_plain(
            filter(log.words.starts_with("[uplinkd] ") ? log.words.substr(10) : log.words));
        output::put("\n");
        return;
    }
    open_line("log");
    output::text_member("time", log.time);
    output::word_member("program", log.program);
    output::number_member("pid", log.pid);
    output::number_member("level", log.level);
    output::text_member("text", log.words);
    close_line();
}

void past_line(std::string_view line) {
    const log_parts log = log_lines::split(line);
    if (!log.is_whole)
        return;
    past_time = {};
    memcpy(past_time.data(), log.time.data(), log.time.size());
    log_line(line);
    past_time = {};
}

void go_live_quietly() {
    is_live = true;
}

} // namespace events
