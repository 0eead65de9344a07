#include "tools/watch/stores.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "arbitration/live_state.h"
#include "platform/host/files.h"
#include "platform/host/places.h"
#include "platform/host/settings_file.h"
#include "tools/cli.h"
#include "tools/known_settings.h"
#include "tools/names.h"
#include "tools/watch/events.h"
#include "wan/flags.h"
#include "wan/setting_keys.h"

namespace stores {

namespace {

using value_text = text<256>; // longer ones are shown cut

// Tells two files at the same name apart. (Not by the time of the last status change, which is also
// that of being replaced by another.)
struct identity {
    ino_t inode = 0;
    timespec written{};

    bool operator==(const identity &other) const {
        return inode == other.inode && written.tv_sec == other.written.tv_sec &&
               written.tv_nsec == other.written.tv_nsec;
    }
};

struct item {
    int id;
    value_text value;
    identity file;
};
item items[192] = {};
size_t item_count = 0;

struct setting {
    text<48> key;
    value_text value;
    bool is_there;
};
setting known_settings[512] = {};
size_t setting_count = 0;

struct flag {
    const char *name;
    value_text value;
} flags[] = {{SUBNET_CONFLICT_FLAG, {}}, {DOWNLINKD_FLAG, {}}};

// What was said last.
arbitration_decision last_decision{-1, arbitration_rule::invalid_mode};
arbitration_inputs last_inputs{};

identity read_value(const char *folder, const char *name, value_text &value) {
    value = {};
    const host::path_text path = host::join_path(folder, name);
    const host::descriptor file(host::open_regular(path.data(), O_RDONLY | O_NOFOLLOW));
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0)
        return {};
    if (read(file, value.data(), sizeof value.chars - 1) < 0)
        value = {};
    value.data()[strcspn(value.c_str(), "\n")] = '\0';
    return {status.st_ino, status.st_mtim};
}

bool is_same(const value_text &a, const char *b) {
    return strcmp(a.c_str(), b) == 0;
}

item *find_item(int id) {
    for (size_t i = 0; i < item_count; i++)
        if (items[i].id == id)
            return &items[i];
    return nullptr;
}

// Every item that the daemon knows has a place.
void gather_items() {
    for (int idx = 0; idx <= MAX_RECORD_INDEX; idx++) {
        names::item_row row;
        for (size_t i = 0; names::item_at(i, row); i++) {
            const int id = idx == 0 ? row.id : wired_item(row.id, idx);
            if (idx > 0 && !names::is_of_wired_wan(row.id))
                continue;
            if (find_item(id) == nullptr && item_count < sizeof items / sizeof *items)
                items[item_count++] = {id, {}, {}};
        }
    }
}

void read_item(item &known, bool say_so) {
    char name[16];
    snprintf(name, sizeof name, "%d", known.id);
    const value_text old = known.value;
    known.file = read_value(host::ITEM_FOLDER, name, known.value);
    if (say_so && !is_same(known.value, old.c_str()))
        events::item(known.id, old.c_str(), known.value.c_str());
}

bool is_of_daemon(std::string_view key) {
    return settings::recognise(key).is_right;
}

bool is_account(const char *key) {
    return strncmp(key, USR_WAN_PPPOE_USERNAME, strlen(USR_WAN_PPPOE_USERNAME)) == 0 ||
           strncmp(key, USR_WAN_PPPOE_PASSWORD, strlen(USR_WAN_PPPOE_PASSWORD)) == 0;
}

constexpr char LEFT_OUT[] = "(left out)";

// A setting as it is to be shown.
const char *shown(const char *key, const value_text &value, bool is_there) {
    if (!is_there)
        return nullptr;
    return is_account(key) && !value.empty() ? LEFT_OUT : value.c_str();
}

setting *place_of_setting(std::string_view key) {
    for (size_t i = 0; i < setting_count; i++)
        if (key == known_settings[i].key.c_str())
            return &known_settings[i];
    if (setting_count == sizeof known_settings / sizeof *known_settings || key.size() >= 48)
        return nullptr;
    setting &added = known_settings[setting_count++];
    added = {};
    memcpy(added.key.data(), key.data(), key.size());
    return &added;
}

bool seen[sizeof known_settings / sizeof *known_settings];

void visit_setting(std::string_view key, std::string_view value) {
    if (!is_of_daemon(key))
        return;
    setting *const known = place_of_setting(key);
    if (known == nullptr)
        return;
    seen[known - known_settings] = true;
    value_text fresh;
    memcpy(fresh.data(), value.data(), std::min(value.size(), sizeof fresh.chars - 1));
    const char *const key_text = known->key.c_str();
    if (is_account(key_text))
        events::keep_secret(fresh.c_str());
    if (known->is_there && is_same(known->value, fresh.c_str()))
        return;
    events::setting(key_text, shown(key_text, known->value, known->is_there),
                    shown(key_text, fresh, true));
    known->value = fresh;
    known->is_there = true;
}

int number_setting(const char *key) {
    for (size_t i = 0; i < setting_count; i++)
        if (known_settings[i].is_there && is_same(to_text<256>(known_settings[i].key.c_str()), key))
            return to_int(known_settings[i].value.c_str());
    return 0;
}

text<2> status_item(int id) {
    const item *const known = find_item(id);
    return known == nullptr ? text<2>{} : to_text<2>(known->value.c_str());
}

} // namespace

void settings_changed() {
    memset(seen, 0, sizeof seen);
    if (host::list_settings(visit_setting) == host::settings_result::failed)
        return; // it comes by rename, and another event says so
    for (size_t i = 0; i < setting_count; i++) {
        if (!known_settings[i].is_there || seen[i])
            continue;
        const char *const key = known_settings[i].key.c_str();
        events::setting(key, shown(key, known_settings[i].value, true), nullptr);
        known_settings[i].is_there = false;
        known_settings[i].value = {};
    }
    decide();
}

void flag_changed(const char *name) {
    for (flag &known : flags) {
        if (strcmp(known.name, name) != 0)
            continue;
        const value_text old = known.value;
        read_value(host::FLAG_FOLDER, name, known.value);
        if (!is_same(known.value, old.c_str()))
            events::flag(name, old.c_str(), known.value.c_str());
    }
}

void item_changed(const char *name, bool catching_up) {
    int id = 0;
    item *const known = cli::parse_decimal(name, id) ? find_item(id) : nullptr;
    if (known == nullptr)
        return;
    const identity before = known->file;
    const value_text old = known->value;
    read_item(*known, false);
    if (!is_same(known->value, old.c_str()))
        events::item(known->id, old.c_str(), known->value.c_str());
    else if (!catching_up && known->file == before)
        events::missed("item", names::of_item(known->id).c_str());
    decide();
}

void read_all() {
    gather_items();
    settings_changed();
    for (size_t i = 0; i < item_count; i++)
        read_item(items[i], true);
    for (flag &known : flags)
        flag_changed(known.name);
    decide();
}

void decide() {
    live_state live{};
    live.mobile_connstatus = status_item(DI_IFA_MOBILE_CONNSTATUS);
    live.wired_wan_connstatus = status_item(DI_IFA_WIRED_WAN_CONNSTATUS);
    live.mobile_netstatus = status_item(DI_IFA_MOBILE_NETSTATUS);
    live.wan_netstatus = status_item(DI_IFA_WIRED_WAN_NETSTATUS);
    live.wan_mode = number_setting(USR_WAN_MODE);
    live.strategy = number_setting(USR_WAN_COMMUNICATION_PRIORITY_STRATEGY);
    const arbitration_inputs in = inputs_of(live);
    const arbitration_decision decision = arbitrate(in);
    const bool is_same_decision =
        decision.priority == last_decision.priority && decision.rule == last_decision.rule &&
        in.wan_mode == last_inputs.wan_mode && in.strategy == last_inputs.strategy;
    last_decision = decision;
    last_inputs = in;
    if (!is_same_decision)
        events::decision(in.wan_mode, in.strategy, decision.priority,
                         arbitration_rule_name(decision.rule),
                         arbitration_rule_text(decision.rule));
}

} // namespace stores
