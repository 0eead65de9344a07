// uplinkctl: looks at and changes what the daemon works with. The sub-commands are a table; what
// each does stands below it.
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/flag_store.h"
#include "tools/cli.h"
#include "tools/config.h"
#include "tools/setting_names.h"
#include "tools/uplinkctl.h"

static int flag_get(operands given);
static int flag_store(operands given);

static int name_settings(operands) {
    return print_setting_names();
}

static constexpr size_t ANY_NUMBER = SIZE_MAX;

static constexpr struct {
    std::string_view group; // the first word, and the second where there is one
    std::string_view verb;
    size_t least, most; // operands
    int (*run)(operands given);
    const char *synopsis;
    const char *purpose;
} COMMANDS[] = {
    {"config", "get", 1, 1, config_get, "config get KEY", "print the value of a setting"},
    {"config", "set", 2, 3, config_set, "config set [--strict] KEY VALUE",
     "change it; --strict: only if in range"},
    {"config", "unset", 1, 1, config_unset, "config unset KEY", "remove a setting"},
    {"config", "list", 0, 1, config_list, "config list [--describe]",
     "print them; --describe: all, explained"},
    {"config", "check", 0, 0, config_check, "config check",
     "print what is out of range or misspelt"},
    {"flag", "get", 1, 1, flag_get, "flag get NAME", "print a named flag"},
    {"flag", "set", 2, 2, flag_store, "flag set NAME VALUE", "set a named flag"},
    {"listen", "", 1, ANY_NUMBER, listen_to_bus, "listen APP [-n COUNT] [-t SECONDS]",
     "show the records sent to an application"},
    {"log", "", 0, 1, show_log, "log [TIME]", "print the log, or a minute of it (03:12)"},
    {"batch", "", 0, 0, show_batch, "batch", "print what the daemon ran last, and what came of it"},
    {"watch", "", 0, ANY_NUMBER, watch_router, "watch [--json] [-t SECONDS]",
     "show what happens, as it happens"},
    {"record", "", 1, ANY_NUMBER, record_router, "record FILE [--private] [-t SECONDS]",
     "keep what happens, to be replayed"},
    {"names", "settings", 0, 0, name_settings, "names settings", "print what settings there are"},
    {"names", "", 1, 1, print_names, "names items|messages|applications|flags",
     "print what there is: number, name, meaning"},
    {"status", "", 0, 1, show_status, "status [--json]", "show the uplinks at a glance"},
    {"explain", "", 0, ANY_NUMBER, explain_priority, "explain [--set NAME=VALUE ...] [--json]",
     "show who has priority, and why"},
#ifdef UPLINKCTL_METRICS
    {"metrics", "", 0, 1, print_metrics, "metrics [--cgi] [--textfile]",
     "print figures for Prometheus"},
#endif
};

static int help() {
    int status = cli::print("Usage: uplinkctl COMMAND\nCommands:\n");
    constexpr int COLUMN = 36; // of what a synopsis may take
    for (const auto &command : COMMANDS) {
        char line[160];
        if (strlen(command.synopsis) <= COLUMN - 2) // scripts find its end by the blanks
            snprintf(line, sizeof line, "  %-*s %s\n", COLUMN, command.synopsis, command.purpose);
        else
            snprintf(line, sizeof line, "  %s\n%*s%s\n", command.synopsis, COLUMN + 3, "",
                     command.purpose);
        if (status == cli::DONE)
            status = cli::print(line);
    }
    return status == cli::DONE ? cli::print_help("Options:\n") : status;
}

int main(int argc, char **argv) {
    if (argc == 2 && cli::is_help(argv[1]))
        return help();
    if (argc == 2 && cli::is_version(argv[1]))
        return cli::print_version();
    if (argc < 2)
        return cli::wrong_usage("expected a command");

    const operands words{argv + 1, argv + argc};
    for (const auto &command : COMMANDS) {
        const size_t name_words = command.verb.empty() ? 1 : 2;
        if (words[0] != command.group || words.size() < name_words ||
            (name_words == 2 && words[1] != command.verb))
            continue;
        const operands given = words.subspan(name_words);
        if (given.size() < command.least || given.size() > command.most)
            return cli::wrong_usage("expected %s", command.synopsis);
        return command.run(given);
    }
    return cli::wrong_usage("unknown command '%s%s%s'", argv[1], argc > 2 ? " " : "",
                            argc > 2 ? argv[2] : "");
}

// Longer than any value; one that would be cut is not printed at all.
static std::array<char, 64 * 1024> value_buffer;

int print_value(int (*read)(const char *name, char *buffer, int size), const char *name) {
    errno = 0;
    read(name, value_buffer.data(), static_cast<int>(value_buffer.size()));
    if (errno != 0 && errno != ENOENT)
        return cli::failure("cannot read '%s': %s", name, strerror(errno));
    if (strnlen(value_buffer.data(), value_buffer.size()) >= value_buffer.size() - 1)
        return cli::failure("the value of '%s' is too long", name);
    if (value_buffer[0] == '\0')
        return cli::DONE;
    const int status = cli::print(value_buffer.data());
    return status == cli::DONE ? cli::print("\n") : status;
}

static int flag_get(operands given) {
    return print_value(flag_get_item, given[0]);
}

static int flag_store(operands given) {
    if (flag_set(given[0], given[1]) == 0)
        return cli::DONE;
    return cli::failure("cannot set flag '%s': %s", given[0], strerror(errno));
}
