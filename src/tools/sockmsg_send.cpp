// sockmsg_send: sends one message without payload to an application on the bus.
#include <cerrno>
#include <cstring>
#include <getopt.h>

#include "platform/bus.h"
#include "tools/cli.h"
#include "tools/names.h"

static constexpr char HELP[] = R"(Usage: sockmsg_send -d APP -m MSG
Sends message MSG without payload to application APP. MSG is a number (decimal or
0x...) or a name, and so is APP: sockmsg_send -d uplinkd -m WAN_STATUS_CHANGE
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
    const char *const reason = why_refused(errno);
    return cli::failure("application %s did not take message %s: %s",
                        names::application_label(application).c_str(),
                        names::message_label(message_id).c_str(), reason);
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
            if (!names::parse_application(optarg, application))
                return cli::wrong_usage("'%s' is no application", optarg);
        } else if (option == 'm') {
            if (!names::parse_message(optarg, message_id))
                return cli::wrong_usage("'%s' is no message", optarg);
            has_message = true;
        } else {
            return cli::wrong_usage("expected -d APP -m MSG");
        }
    }
    if (application == 0 || !has_message || optind != argc)
        return cli::wrong_usage("expected -d APP -m MSG");
    return send(application, message_id);
}
