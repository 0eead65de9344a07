// uplinkctl: looks at and changes what the daemon works with. The sub-commands are a table; what
// each does stands below it.
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

#include "base/packed_texts.h"
#include "platform/flag_store.h"
#include "tools/cli.h"
#include "tools/config.h"
#include "tools/output.h"
#include "tools/setting_names.h"
#include "tools/uplinkctl.h"

static int flag_get(operands given);
static int flag_store(operands given);

static int name_settings(operands) {
    return print_setting_names();
}

// What a build may leave out.
#ifdef UPLINKCTL_METRICS
#define IF_METRICS(row) row
#else
#define IF_METRICS(row)
#endif
#ifdef UPLINKCTL_RECORD
#define IF_RECORD(row) row
#else
#define IF_RECORD(row)
#endif

static constexpr unsigned char ANY = UCHAR_MAX;

// HEADING(text) and COMMAND(words of its name, least and most operands, function, synopsis,
// purpose), in the order in which somebody new will want them.
// clang-format off
#define COMMANDS(HEADING, COMMAND)                                                                 \
    HEADING("What is it doing, and why?")                                                          \
    COMMAND(1, 0, 1, show_status, "status [--json]", "show the uplinks at a glance")               \
    COMMAND(1, 0, ANY, explain_priority, "explain [--set NAME=VALUE ...] [--json]",                \
            "show who has priority and why, or what if")                                           \
    IF_RECORD(COMMAND(1, 0, ANY, watch_router, "watch [--json] [-t SECONDS]",                      \
              "show what happens, as it happens"))                                                 \
    IF_RECORD(COMMAND(1, 0, 1, show_log, "log [TIME]",                                             \
              "print the log, or a minute of it (03:12)"))                                         \
    IF_RECORD(COMMAND(1, 0, 0, show_batch, "batch",                                                \
              "print what was run last, and what came of it"))                                     \
    HEADING("What is it told to do?")                                                              \
    COMMAND(2, 1, 1, config_get, "config get KEY", "print the value of a setting")                 \
    COMMAND(2, 2, 3, config_set, "config set [--strict] KEY VALUE",                                \
            "change it; --strict: only if in range")                                               \
    COMMAND(2, 1, 1, config_unset, "config unset KEY", "remove a setting")                         \
    COMMAND(2, 0, 1, config_list, "config list [--describe]",                                      \
            "print them; --describe: all, explained")                                              \
    COMMAND(2, 0, 0, config_check, "config check", "print what is out of range or misspelt")       \
    COMMAND(2, 1, 1, flag_get, "flag get NAME", "print a named flag")                              \
    COMMAND(2, 2, 2, flag_store, "flag set NAME VALUE", "set a named flag")                        \
    HEADING("Who is who?")                                                                         \
    COMMAND(2, 0, 0, name_settings, "names settings", "print what settings there are")             \
    COMMAND(1, 1, 1, print_names, "names items|messages|applications|flags",                       \
            "print what there is: number, name, meaning")                                          \
    COMMAND(1, 1, ANY, listen_to_bus, "listen APP [-n COUNT] [-t SECONDS]",                        \
            "show the records sent to an application")                                             \
    HEADING("For later, and for elsewhere")                                                        \
    IF_RECORD(COMMAND(1, 1, ANY, record_router, "record FILE [--private] [-t SECONDS]",            \
              "keep what happens, to be replayed"))                                                \
    IF_RECORD(COMMAND(1, 2, 2, compare_recordings, "compare A B",                                  \
              "show where it decided otherwise in another"))                                       \
    IF_METRICS(COMMAND(1, 0, 1, print_metrics, "metrics [--cgi] [--textfile]",                     \
               "print figures for Prometheus"))
// clang-format on

// Texts in one piece, since each pointer would cost a relocation.
static constexpr char COMMAND_TEXTS[] =
#define HEADING(text)                                       text "\0\0"
#define COMMAND(words, least, most, run, synopsis, purpose) synopsis "\0" purpose "\0"
    COMMANDS(HEADING, COMMAND)
#undef HEADING
#undef COMMAND
    ;

static constexpr struct {
    unsigned char name_words; // 0: a heading
    unsigned char least, most;
    int (*run)(operands given);
} COMMAND_ROWS[] = {
#define HEADING(text)                                       {0, 0, 0, nullptr},
#define COMMAND(words, least, most, run, synopsis, purpose) {words, least, most, run},
    COMMANDS(HEADING, COMMAND)
#undef HEADING
#undef COMMAND
};

static int help() {
    constexpr int COLUMN = 36;
    const char *text = COMMAND_TEXTS, *heading = nullptr;
    output::put("Usage: uplinkctl COMMAND\n"
                "Looks at the router's WAN management, and at what it works with.\n");
    for (const auto &row : COMMAND_ROWS) {
        const char *const synopsis = text;
        const char *const purpose = next_text(synopsis);
        text = next_text(purpose);
        if (row.name_words == 0) {
            heading = synopsis;
            continue;
        }
        if (heading != nullptr) // which has a command
            output::print("\n%s\n", heading);
        heading = nullptr;
        if (strlen(synopsis) <= COLUMN - 2) // scripts find its end by the blanks
            output::print("  %-*s %s\n", COLUMN, synopsis, purpose);
        else
            output::print("  %s\n%*s%s\n", synopsis, COLUMN + 3, "", purpose);
    }
    const int status = output::flush();
    return status == cli::DONE ? cli::print_help("\nOptions:\n") : status;
}

// Whether SYNOPSIS begins with the first COUNT of these words.
static bool is_named(operands words, size_t count, const char *synopsis) {
    for (size_t i = 0; i < count; i++) {
        const size_t length = strcspn(synopsis, " ");
        if (i >= words.size() || std::string_view(words[i]) != std::string_view(synopsis, length))
            return false;
        synopsis += length + (synopsis[length] == ' ' ? 1 : 0);
    }
    return true;
}

static const char *expected = ""; // of the command that runs

int wrong_operands() {
    return cli::wrong_usage("expected %s", expected);
}

int main(int argc, char **argv) {
    if (argc < 2 || (argc == 2 && cli::is_help(argv[1])))
        return help();
    if (argc == 2 && cli::is_version(argv[1]))
        return cli::print_version();

    const operands words{argv + 1, argv + argc};
    const char *text = COMMAND_TEXTS;
    for (const auto &row : COMMAND_ROWS) {
        const char *const synopsis = text;
        text = next_text(next_text(synopsis));
        if (row.name_words == 0 || !is_named(words, row.name_words, synopsis))
            continue;
        const operands given = words.subspan(row.name_words);
        expected = synopsis;
        if (given.size() < row.least || (row.most != ANY && given.size() > row.most))
            return wrong_operands();
        return row.run(given);
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
