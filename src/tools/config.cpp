// uplinkctl config: the settings file, line by line and as a whole.
#include "tools/config.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/config_store.h"
#include "platform/host/settings_file.h"
#include "tools/cli.h"
#include "tools/known_settings.h"
#include "tools/output.h"
#include "tools/setting_names.h"

static int report(host::settings_result result, const char *key) {
    switch (result) {
    case host::settings_result::done: return cli::DONE;
    case host::settings_result::refused:
        return cli::failure(
            "'%s' cannot be set: a key is not empty, does not begin with # and holds "
            "no = and no newline; a value holds no newline",
            key);
    case host::settings_result::locked:
        return cli::failure("the settings are locked by another program");
    case host::settings_result::too_large: return cli::failure("the settings file is too large");
    case host::settings_result::failed: break;
    }
    return cli::failure("cannot use the settings: %s", strerror(errno));
}

int config_get(operands given) {
    return print_value(cfg_get_item, given[0]);
}

int config_unset(operands given) {
    return report(host::unset_setting(given[0]), given[0]);
}

using finding = text<512>;

// What is wrong with a line KEY=VALUE of the settings, as a line without control characters; empty
// if nothing is, or if the key is another program's.
static finding examine(std::string_view key, std::string_view value) {
    finding found;
    const settings::recognised given = settings::recognise(key);
    if (given.known == nullptr)
        return found;
    const settings::fault_text fault =
        given.is_right ? settings::fault_of_value(*given.known, given.idx, value)
                       : settings::fault_of_key(given);
    if (fault.empty())
        return found;
    constexpr size_t SHOWN = 100; // of each, so that the fault itself has room
    const std::string_view shown = given.known->is_secret() ? "(set)" : value.substr(0, SHOWN);
    snprintf(found.data(), sizeof found.chars, "%.*s=%.*s: %s",
             static_cast<int>(std::min(key.size(), SHOWN)), key.data(),
             static_cast<int>(shown.size()), shown.data(), fault.c_str());
    cli::make_printable(found.data());
    return found;
}

int config_set(operands given) {
    const bool strict = given.size() == 3;
    if (strict && given[0] != std::string_view{"--strict"})
        return wrong_operands();
    const char *const key = given[given.size() - 2];
    const char *const value = given[given.size() - 1];
    const finding found = examine(key, value);
    if (strict && !found.empty())
        return cli::failure("%s", found.c_str());
    const int status = report(host::set_setting(key, value), key);
    if (status == cli::DONE && !found.empty())
        cli::warn("%s", found.c_str());
    return status;
}

int config_check(operands) {
    static int status = cli::DONE;
    const auto check_setting = [](std::string_view key, std::string_view value) {
        const finding found = examine(key, value);
        if (found.empty())
            return;
        status = cli::FAILED;
        output::print("%s\n", found.c_str());
    };
    if (const int readable = report(host::list_settings(check_setting), ""); readable != cli::DONE)
        return readable;
    const int written = output::flush();
    return written != cli::DONE ? written : status;
}

static int list_settings() {
    const auto print_setting = [](std::string_view key, std::string_view value) {
        output::put(key);
        output::put("=");
        output::put(value);
        output::put("\n");
    };
    const host::settings_result result = host::list_settings(print_setting);
    const int status = output::flush();
    return status != cli::DONE ? status : report(result, "");
}

int config_list(operands given) {
    if (given.empty())
        return list_settings();
    if (given[0] != std::string_view{"--describe"})
        return wrong_operands();
    // Unreadable settings are not ones without values.
    const int status = report(host::list_settings([](std::string_view, std::string_view) {}), "");
    return status != cli::DONE ? status : describe_settings();
}
