// Device information: one file an item under its decimal ID.
#include "platform/devinfo_store.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/host/places.h"
#include "platform/host/value_file.h"

namespace {

host::value_folder items{.path = host::ITEM_FOLDER};

std::array<char, 12> item_name(int id) {
    std::array<char, 12> name;
    snprintf(name.data(), name.size(), "%d", id);
    return name;
}

} // namespace

int get_devinfo_value_by_id(int id, char *buffer, int size) {
    if (buffer != nullptr && size > 0)
        buffer[0] = '\0';
    if (id <= 0) {
        errno = EINVAL;
        return -1;
    }
    return host::read_value(items, item_name(id).data(), buffer, size);
}

int set_devinfo_value_by_id(int id, const char *value, int length) {
    if (id <= 0 || value == nullptr || length < 0) {
        errno = EINVAL;
        return -1;
    }
    return host::write_value(items, item_name(id).data(),
                             {value, strnlen(value, static_cast<size_t>(length))});
}
