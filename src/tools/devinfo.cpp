// devinfo: reads or stores one device-information item.
#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "platform/devinfo_store.h"
#include "platform/host/files.h"
#include "platform/host/item_file.h"
#include "tools/cli.h"

static constexpr char HELP[] = R"(Usage: devinfo ID          print the value of item ID
       devinfo ID VALUE    store VALUE in item ID; an empty VALUE clears it
An item without a value prints nothing.
)";

// Copies a value of any length to standard output: up to its first NUL, without the newline that an
// editor or echo may have left at its end, and with one newline of our own.
static int print_value(int file) {
    char chunk[4096];
    bool printed = false;
    bool held_newline = false;
    for (;;) {
        const ssize_t got = read(file, chunk, sizeof chunk);
        if (got < 0)
            return cli::failure("cannot read the item: %s", strerror(errno));
        std::string_view piece{chunk, strnlen(chunk, static_cast<size_t>(got))};
        if (piece.empty())
            return printed ? cli::print("\n") : cli::DONE;

        if (held_newline && cli::print("\n") != cli::DONE)
            return cli::FAILED;
        held_newline = piece.ends_with('\n');
        if (held_newline)
            piece.remove_suffix(1);
        if (cli::print(piece) != cli::DONE)
            return cli::FAILED;
        printed = printed || !piece.empty();
        if (piece.size() + held_newline < static_cast<size_t>(got))
            return printed ? cli::print("\n") : cli::DONE;
    }
}

static int show(int id) {
    const host::descriptor file{host::open_item(id)};
    if (file >= 0)
        return print_value(file);
    if (errno == ENOENT)
        return cli::DONE;
    return cli::failure("cannot read item %d: %s", id, strerror(errno));
}

static int store(int id, const char *value) {
    if (set_devinfo_value_by_id(id, value, static_cast<int>(strlen(value))) == 0)
        return cli::DONE;
    return cli::failure("cannot store item %d: %s", id, strerror(errno));
}

int main(int argc, char **argv) {
    if (argc == 2 && cli::is_help(argv[1]))
        return cli::print(HELP);
    if (argc != 2 && argc != 3)
        return cli::wrong_usage("expected an item ID and at most one value");
    int id = 0;
    if (!cli::parse_decimal(argv[1], id))
        return cli::wrong_usage("'%s' is no item ID", argv[1]);
    return argc == 2 ? show(id) : store(id, argv[2]);
}
