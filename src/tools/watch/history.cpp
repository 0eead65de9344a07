// uplinkctl log and batch: what has happened, from the log, and what the daemon ran last.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "batch/script_runner.h"
#include "provision/clients/client_files.h"
#include "tools/cli.h"
#include "tools/last_batch.h"
#include "tools/output.h"
#include "tools/router_state.h"
#include "tools/uplinkctl.h"
#include "tools/watch/events.h"

using output::print;

// ---- log

// Where the time of day stands in a line, "YYYY-MM-DD HH:MM:SS.mmm ...".
static constexpr size_t DATE_SIZE = 11;

static void print_if_at(std::string_view line, void *context) {
    const std::string_view wanted{static_cast<const char *>(context)};
    if (line.substr(0, wanted.size()) == wanted ||
        (line.size() > DATE_SIZE && line.substr(DATE_SIZE).starts_with(wanted)))
        events::past_line(line);
}

int show_log(operands given) {
    char all[] = "";
    char *const wanted = given.empty() ? all : given[0];
    if (strspn(wanted, "0123456789:.- ") != strlen(wanted))
        return cli::wrong_usage("'%s' is no time such as 03:12 or '2026-11-23 03:1'", wanted);
    events::begin(events::form::people, false);
    events::go_live_quietly();
    router::visit_log(print_if_at, wanted);
    return output::flush();
}

// ---- batch

// The word that follows OPTION in a command.
static text<64> word_after(std::string_view command, std::string_view option) {
    text<64> word;
    const size_t at = command.find(option);
    if (at == command.npos)
        return word;
    command.remove_prefix(at + option.size());
    const size_t length = std::min(command.find(' '), command.size());
    memcpy(word.data(), command.data(), std::min(length, sizeof word.chars - 1));
    return word;
}

// Of a command that starts a client it can be seen whether that runs.
static void print_outcome(std::string_view command) {
    const struct {
        const char *program;
        std::string_view pid_option;
    } CLIENTS[] = {{UDHCPC, " -p "}, {UDHCPC6, " -p "}, {PPPD, " pidfile "}};
    for (const auto &[program, pid_option] : CLIENTS) {
        const size_t length = strlen(program);
        if (command.substr(0, length) != program || command.substr(length, 1) != " ")
            continue;
        const text<64> path = word_after(command, pid_option);
        const int pid = router::read_pid_file(path.c_str());
        if (pid != 0 && router::is_process(pid, program))
            print("    => %s runs, pid %d\n", program, pid);
        else
            print("    => %s does not run\n", program);
    }
}

int show_batch(operands) {
    const last_batch batch = read_last_batch();
    if (batch.script.empty())
        return cli::failure("there is no batch in %s", TMP_SCRIPT);
    char written[32];
    tm local;
    localtime_r(&batch.written, &local);
    strftime(written, sizeof written, "%Y-%m-%d %H:%M:%S", &local);
    print("%s at %s\n", batch.owner.c_str(), written);
    for (std::string_view rest = batch.script; !rest.empty();) {
        const std::string_view line = take_line(rest);
        if (!is_command(line))
            continue;
        output::put("  $ ");
        output::put_plain(line);
        output::put("\n");
        print_outcome(line);
    }
    print(batch.is_run ? "It was run to its end or still runs.\n" : "It has not been run.\n");
    return output::flush();
}
