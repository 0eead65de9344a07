// sockmsg_send: sends one message without payload to an application on the bus.
#include <cerrno>
#include <cstring>
#include <getopt.h>

#include "platform/bus.h"
#include "tools/cli.h"

static constexpr char HELP[] = R"(Usage: sockmsg_send -d APP -m MSG
Sends message MSG (decimal or 0x...) without payload to application APP.
)";

static const char *why_refused(int error) {
    switch (error) {
    case ENOENT:
    case ECONNREFUSED: return "it is not registered";
    case EAGAIN: return "its queue is full";
    case 0: return "the bus gives no reason";
    default: return strerror(error);
    }
}

static int send(int application, int message_id) {
    uplinkd_msg_t message{};
    message.msg_id = message_id;
    errno = 0;
    if (sockmsg_send_common_msg(application, &message) >= 0)
        return cli::DONE;
    return cli::failure("application %d did not take message 0x%04X: %s", application,
                        static_cast<unsigned>(message_id), why_refused(errno));
}

int main(int argc, char **argv) {
    if (argc == 2 && cli::is_help(argv[1]))
        return cli::print_help(HELP);
    if (argc == 2 && cli::is_version(argv[1]))
        return cli::print_version();

    int application = 0;
    int message_id = 0;
    bool has_message = false;
    opterr = 0;
    for (int option; (option = getopt(argc, argv, "d:m:")) != -1;) {
        if (option == 'd') {
            if (!cli::parse_decimal(optarg, application) || application <= 0)
                return cli::wrong_usage("'%s' is no application ID", optarg);
        } else if (option == 'm') {
            if (!cli::parse_decimal_or_hex(optarg, message_id))
                return cli::wrong_usage("'%s' is no message ID", optarg);
            has_message = true;
        } else {
            return cli::wrong_usage("expected -d APP -m MSG");
        }
    }
    if (application == 0 || !has_message || optind != argc)
        return cli::wrong_usage("expected -d APP -m MSG");
    return send(application, message_id);
}
