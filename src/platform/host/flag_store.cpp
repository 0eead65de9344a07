// Named flags: one file a flag under its name.
#include "platform/flag_store.h"

#include <cerrno>
#include <string_view>

#include "platform/host/places.h"
#include "platform/host/value_file.h"

namespace {

host::value_folder flags{.path = host::FLAG_FOLDER};

// A leading dot could leave the folder, or hit a file that a writer is still filling.
bool is_flag_name(const char *name) {
    if (name == nullptr)
        return false;
    const std::string_view text = name;
    return !text.empty() && text.size() < 256 && !text.starts_with('.') &&
           text.find('/') == std::string_view::npos;
}

} // namespace

int flag_set(const char *name, const char *value) {
    if (!is_flag_name(name) || value == nullptr) {
        errno = EINVAL;
        return -1;
    }
    return host::write_value(flags, name, value);
}

int flag_get_item(const char *name, char *buffer, int size) {
    if (buffer != nullptr && size > 0)
        buffer[0] = '\0';
    if (!is_flag_name(name)) {
        errno = EINVAL;
        return -1;
    }
    return host::read_value(flags, name, buffer, size);
}
