// devinfo: reads or stores one device-information item.
#include <array>
#include <cerrno>
#include <cstring>

#include "platform/devinfo_store.h"
#include "tools/cli.h"
#include "tools/names.h"

static constexpr char HELP[] = R"(Usage: devinfo ITEM          print the value of ITEM
       devinfo ITEM VALUE    store VALUE in ITEM; an empty VALUE clears it
ITEM is a number or a name: 201102 is WIRED_WAN_IP, 262002 is WIRED_WAN_IP_2, the
additional wired WAN 2's. An item without a value prints nothing.
)";

// Longer than any item; a value that would be cut is not printed at all.
static std::array<char, 64 * 1024> value_buffer;

static int show(int id) {
    errno = 0;
    const int result =
        get_devinfo_value_by_id(id, value_buffer.data(), static_cast<int>(value_buffer.size()));
    if (result != 0 && errno != 0 && errno != ENOENT)
        return cli::failure("cannot read item %s: %s", names::item_label(id).c_str(),
                            strerror(errno));
    if (strnlen(value_buffer.data(), value_buffer.size()) >= value_buffer.size() - 1)
        return cli::failure("item %s is too long", names::item_label(id).c_str());
    if (value_buffer[0] == '\0')
        return cli::DONE;
    const int status = cli::print(value_buffer.data());
    return status == cli::DONE ? cli::print("\n") : status;
}

static int store(int id, const char *value) {
    if (set_devinfo_value_by_id(id, value, static_cast<int>(strlen(value))) == 0)
        return cli::DONE;
    return cli::failure("cannot store item %s: %s", names::item_label(id).c_str(), strerror(errno));
}

int main(int argc, char **argv) {
    if (argc == 2 && cli::is_help(argv[1]))
        return cli::print_help(HELP);
    if (argc == 2 && cli::is_version(argv[1]))
        return cli::print_version();
    if (argc != 2 && argc != 3)
        return cli::wrong_usage("expected an item and at most one value");
    int id = 0;
    if (!names::parse_item(argv[1], id))
        return cli::wrong_usage("'%s' is no item", argv[1]);
    return argc == 2 ? show(id) : store(id, argv[2]);
}
