#include "tools/what_if.h"

#include <cstdio>
#include <cstring>

#include "base/text.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "tools/known_settings.h"
#include "tools/names.h"

namespace {

struct replacement {
    bool is_item;
    bool is_given; // by the caller, not stored by a decision function
    int id;
    text<48> key;
    text<128> value;
};

replacement replacements[64];
size_t count = 0;
bool running = false;

replacement *find(bool is_item, int id, const char *key) {
    for (size_t i = 0; i < count; i++) {
        replacement &entry = replacements[i];
        if (entry.is_item == is_item &&
            (is_item ? entry.id == id : strcmp(entry.key.c_str(), key) == 0))
            return &entry;
    }
    return nullptr;
}

bool keep(bool is_item, int id, const char *key, const char *value, bool is_given) {
    replacement *entry = find(is_item, id, key);
    if (entry == nullptr && count == sizeof replacements / sizeof *replacements)
        return false;
    if (entry == nullptr)
        entry = &replacements[count++];
    else if (entry->is_given && !is_given)
        return true;
    *entry = {is_item, is_given, id, to_text<48>(key), to_text<128>(value)};
    return true;
}

int hand_out(const replacement &entry, char *buffer, int size) {
    snprintf(buffer, static_cast<size_t>(size), "%s", entry.value.c_str());
    return entry.value.empty() ? -1 : 0;
}

} // namespace

// What the platform's operations are called in the rest of the program.
extern "C" {

int what_if_cfg_get_item(const char *key, char *buffer, int size) {
    const replacement *entry = find(false, 0, key);
    return entry == nullptr ? cfg_get_item(key, buffer, size) : hand_out(*entry, buffer, size);
}

int what_if_get_CFG_int(const char *key) {
    const replacement *entry = find(false, 0, key);
    return entry == nullptr ? get_CFG_int(key) : to_int(entry->value.c_str());
}

int what_if_get_devinfo_value_by_id(int id, char *buffer, int size) {
    const replacement *entry = find(true, id, "");
    return entry == nullptr ? get_devinfo_value_by_id(id, buffer, size)
                            : hand_out(*entry, buffer, size);
}

int what_if_set_devinfo_value_by_id(int id, const char *value, int length) {
    if (!running)
        return set_devinfo_value_by_id(id, value, length);
    text<128> copy;
    snprintf(copy.data(), sizeof copy.chars, "%.*s", length, value);
    return keep(true, id, "", copy.c_str(), false) ? 0 : -1;
}

// What a decision says to the log is for the daemon to say.
void what_if_savelog(int, const char *, ...) {}

} // extern "C"

bool what_if::set(const char *name, const char *value) {
    int id = 0;
    if (names::parse_item(name, id))
        return set_item(id, value);
    return settings::recognise(name).is_right && keep(false, 0, name, value, true);
}

bool what_if::set_item(int id, const char *value) {
    return keep(true, id, "", value, true);
}

void what_if::forget() {
    size_t kept = 0;
    for (size_t i = 0; i < count; i++)
        if (replacements[i].is_given)
            replacements[kept++] = replacements[i];
    count = kept;
}

void what_if::begin() {
    running = true;
}

void what_if::end() {
    running = false;
}
