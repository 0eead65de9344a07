// Any bytes as the settings file, against a model that takes the file as a list of lines.
#include <algorithm>
#include <climits>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>

#include "fuzz.h"
#include "platform/config_store.h"
#include "platform/host/setting_number.h"
#include "platform/host/settings_file.h"

using host::settings_result;
using lines_of_file = std::vector<std::string>;

static constexpr const char *SETTINGS = "/etc/uplinkd/settings";
static constexpr size_t BUFFERS[] = {0, 16 * 1024, 32 * 1024, 256 * 1024}; // read at once, changed
static constexpr size_t LISTED = 4096; // listing compares every line with every other

static lines_of_file split(const std::string &text) {
    lines_of_file lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

static std::string joined(const lines_of_file &lines) {
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    return text;
}

static bool can_be_key(const std::string &key) {
    return !key.empty() && key[0] != '#' && key.find('=') == key.npos && key.find('\n') == key.npos;
}

static lines_of_file::iterator last_of(lines_of_file &lines, const std::string &key) {
    const auto found = std::find_if(lines.rbegin(), lines.rend(),
                                    [&](const auto &line) { return line.starts_with(key + "="); });
    return can_be_key(key) && found != lines.rend() ? found.base() - 1 : lines.end();
}

static void look_up(const std::string &text, const std::string &key, size_t size) {
    lines_of_file lines = split(text);
    const auto line = last_of(lines, key);
    const bool found = line != lines.end();
    const std::string value = found ? line->substr(key.size() + 1) : "";
    const std::unique_ptr<char[]> buffer(new char[size]); // ends where the sanitizer sees it
    const int result = cfg_get_item(key.c_str(), buffer.get(), static_cast<int>(size));
    const std::string fitting = value.substr(0, size - 1);
    DEMAND(result == (found ? 0 : -1), key, value);
    DEMAND(std::string(buffer.get(), fitting.size() + 1) == fitting + '\0', key, fitting);

    char *end;
    const long number = std::clamp(strtol(value.c_str(), &end, 10), long{INT_MIN}, long{INT_MAX});
    int read = -1;
    DEMAND(get_CFG_int(key.c_str()) == number, key, value);
    DEMAND(host::read_setting_number(key.c_str(), read) == (end != value.c_str()), key, value);
    DEMAND(read == number, key, value);
}

static void change(const std::string &text, const std::string &key, const std::string &value) {
    const settings_result result = host::set_setting(key, value);
    lines_of_file lines = split(text);
    if (!can_be_key(key) || key.find('\0') != key.npos ||
        value.find_first_of(std::string_view("\n\0", 2)) != value.npos) {
        DEMAND(result == settings_result::refused, key, value);
        DEMAND(file_text(SETTINGS) == text, key, value);
        return;
    }
    if (text.size() >= BUFFERS[3]) {
        DEMAND(result == settings_result::too_large && file_text(SETTINGS) == text, key);
        return;
    }
    DEMAND(result == settings_result::done, key, value);
    const auto line = last_of(lines, key);
    const bool is_there = line != lines.end();
    std::string expected = text;
    if (!is_there || line->substr(0, line->find('\0')) != key + "=" + value) {
        const bool unfinished = !text.ends_with('\n') && is_there && line + 1 != lines.end();
        is_there ? *line = key + "=" + value : *lines.insert(lines.end(), key + "=" + value);
        expected = joined(lines);
        if (unfinished)
            expected.pop_back();
    }
    DEMAND(file_text(SETTINGS) == expected, key, value, file_text(SETTINGS).substr(0, 9999));
    look_up(expected, key, value.size() + 1);
}

static std::vector<std::string> listed;

static void list_and_remove(const std::string &text, const std::string &key) {
    lines_of_file lines = split(text);
    std::vector<std::string> expected;
    for (auto line = lines.begin(); line != lines.end(); ++line) {
        const std::string name = line->substr(0, line->find('='));
        if (name.find('\0') == name.npos && last_of(lines, name) == line)
            expected.push_back(line->substr(0, line->find('\0', name.size())));
    }
    listed.clear();
    host::list_settings([](std::string_view name, std::string_view value) {
        listed.push_back(std::string(name) + "=" + std::string(value));
    });
    DEMAND(listed == expected, joined(listed), joined(expected));
    if (host::unset_setting(key) != settings_result::done)
        return;
    const bool was_there = last_of(lines, key) != lines.end();
    const bool unfinished =
        !lines.empty() && !text.ends_with('\n') && !lines.back().starts_with(key + "=");
    std::erase_if(lines, [&](const auto &line) { return line.starts_with(key + "="); });
    std::string left = was_there ? joined(lines) : text;
    if (was_there && unfinished)
        left.pop_back();
    DEMAND(file_text(SETTINGS) == left, key, left, file_text(SETTINGS));
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    std::string text = input.ConsumeRandomLengthString(2000);
    std::string key = input.ConsumeRandomLengthString(40);
    const std::string value = input.ConsumeRandomLengthString(80);
    if (input.ConsumeBool()) { // a key of the file
        key = text.substr(input.ConsumeIntegralInRange<size_t>(0, text.size()));
        key.resize(std::min(key.size(), key.find('=')));
    }
    if (const size_t start = input.PickValueInArray(BUFFERS); start > 0) // across a buffer's end
        text = "#" + std::string(start - input.ConsumeIntegralInRange<size_t>(2, 300), '-') + "\n" +
               text;
    std::filesystem::create_directories("/etc/uplinkd");
    put_file(SETTINGS, text);
    look_up(text, key.substr(0, key.find('\0')), input.ConsumeIntegralInRange<size_t>(1, 100));
    change(text, key, value);
    put_file(SETTINGS, text);
    if (text.size() < LISTED)
        list_and_remove(text, key);
    return 0;
}
