// devinfo: reads or stores one device-information item.
#include <array>
#include <cerrno>
#include <cstring>

#include "platform/devinfo_store.h"
#include "tools/cli.h"

static constexpr char HELP[] = R"(Usage: devinfo ID          print the value of item ID
       devinfo ID VALUE    store VALUE in item ID; an empty VALUE clears it
An item without a value prints nothing.
)";

// Longer than any item; a value that would be cut is not printed at all.
static std::array<char, 64 * 1024> value_buffer;

static int show(int id) {
    errno = 0;
    const int result =
        get_devinfo_value_by_id(id, value_buffer.data(), static_cast<int>(value_buffer.size()));
    if (result != 0 && errno != 0 && errno != ENOENT)
        return cli::failure("cannot read item %d: %s", id, strerror(errno));
    if (strnlen(value_buffer.data(), value_buffer.size()) >= value_buffer.size() - 1)
        return cli::failure("item %d is too long", id);
    if (value_buffer[0] == '\0')
        return cli::DONE;
    const int status = cli::print(value_buffer.data());
    return status == cli::DONE ? cli::print("\n") : status;
}

static int store(int id, const char *value) {
    if (set_devinfo_value_by_id(id, value, static_cast<int>(strlen(value))) == 0)
        return cli::DONE;
    return cli::failure("cannot store item %d: %s", id, strerror(errno));
}

int main(int argc, char **argv) {
    if (argc == 2 && cli::is_help(argv[1]))
        return cli::print_help(HELP);
    if (argc == 2 && cli::is_version(argv[1]))
        return cli::print_version();
    if (argc != 2 && argc != 3)
        return cli::wrong_usage("expected an item ID and at most one value");
    int id = 0;
    if (!cli::parse_decimal(argv[1], id))
        return cli::wrong_usage("'%s' is no item ID", argv[1]);
    return argc == 2 ? show(id) : store(id, argv[2]);
}
