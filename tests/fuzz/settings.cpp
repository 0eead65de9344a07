// Any bytes as the settings file, against a model that takes the file as a list of lines.
#include <climits>
#include <memory>
#include <sstream>

#include "fuzz.h"
#include "platform/config_store.h"
#include "platform/host/setting_number.h"
#include "platform/host/settings_file.h"

using host::settings_result;

static constexpr const char *SETTINGS = "/etc/uplinkd/settings";
static constexpr size_t LARGEST = 256 * 1024; // that can be changed

struct model {
    explicit model(const std::string &text) : unfinished(!text.empty() && !text.ends_with('\n')) {
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);)
            lines.push_back(line);
    }
    std::string text() const {
        std::string all;
        for (const std::string &line : lines)
            all += line + "\n";
        return unfinished && !all.empty() ? all.substr(0, all.size() - 1) : all;
    }
    // The line of KEY that counts, the number of lines where there is none.
    size_t line_of(const std::string &key) const {
        const bool valid =
            !key.empty() && key[0] != '#' && key.find_first_of(std::string("=\n\0", 3)) == key.npos;
        for (size_t i = valid ? lines.size() : 0; i > 0; i--)
            if (lines[i - 1].starts_with(key + "="))
                return i - 1;
        return lines.size();
    }
    std::vector<std::string> lines;
    bool unfinished;
};

static void look_up(const model &file, const std::string &key, size_t size) {
    const size_t line = file.line_of(key);
    const bool found = line < file.lines.size();
    const std::string value = found ? file.lines[line].substr(key.size() + 1) : "";
    const std::unique_ptr<char[]> buffer(new char[size]); // ends where the sanitizer sees it
    const std::string fitting = value.substr(0, size - 1);
    DEMAND(cfg_get_item(key.c_str(), buffer.get(), static_cast<int>(size)) == (found ? 0 : -1),
           key);
    DEMAND(std::string(buffer.get(), fitting.size() + 1) == fitting + '\0', key, fitting);

    char *end;
    const long number = std::clamp(strtol(value.c_str(), &end, 10), long{INT_MIN}, long{INT_MAX});
    int read = -1;
    DEMAND(get_CFG_int(key.c_str()) == number, key, value);
    DEMAND(host::read_setting_number(key.c_str(), read) == (end != value.c_str()), key, value);
    DEMAND(read == number, key, value);
}

static void change(model file, const std::string &key, const std::string &value) {
    const std::string before = file.text();
    const settings_result result = host::set_setting(key, value);
    if (model(key + "=").line_of(key) != 0 ||
        value.find_first_of(std::string("\n\0", 2)) != value.npos) {
        DEMAND(result == settings_result::refused && file_text(SETTINGS) == before, key, value);
        return;
    }
    if (before.size() >= LARGEST) {
        DEMAND(result == settings_result::too_large && file_text(SETTINGS) == before, key);
        return;
    }
    const size_t line = file.line_of(key);
    file.lines.resize(std::max(file.lines.size(), line + 1));
    std::string &changed = file.lines[line];
    if (changed.substr(0, changed.find('\0')) != key + "=" + value) {
        changed = key + "=" + value;
        file.unfinished &= line + 1 < file.lines.size();
    }
    DEMAND(result == settings_result::done && file_text(SETTINGS) == file.text(), key, value);
    look_up(file, key, value.size() + 1);
}

static std::string listed;

static void list_and_remove(model file, const std::string &key) {
    std::string expected;
    for (size_t i = 0; i < file.lines.size(); i++) {
        const std::string &line = file.lines[i];
        const size_t equals = line.find('=');
        if (equals != line.npos && file.line_of(line.substr(0, equals)) == i)
            expected += line.substr(0, line.find('\0')) + "\n";
    }
    listed.clear();
    host::list_settings([](std::string_view name, std::string_view value) {
        listed += std::string(name) + "=" + std::string(value) + "\n";
    });
    DEMAND(listed == expected, listed, expected);
    if (file.line_of(key) < file.lines.size()) {
        file.unfinished &= !file.lines.back().starts_with(key + "=");
        std::erase_if(file.lines, [&](const auto &line) { return line.starts_with(key + "="); });
    }
    host::unset_setting(key);
    DEMAND(file_text(SETTINGS) == file.text(), key, file.text(), file_text(SETTINGS));
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    std::string text = input.ConsumeRandomLengthString(2000);
    std::string key = input.ConsumeRandomLengthString(40);
    const std::string value = input.ConsumeRandomLengthString(80);
    size_t start = input.ConsumeIntegralInRange<size_t>(0, text.size());
    if (input.ConsumeBool()) // a key of the file
        key = text.substr(start, text.find('=', start) - start);
    // A place near the key comes to where a read ends, or the largest file.
    const size_t end = input.PickValueInArray<size_t>({0, 0, 0, 0, 16384, 32768, LARGEST});
    start += input.ConsumeIntegralInRange<size_t>(0, 40);
    if (end > 0)
        text = "#" + std::string(end - start - 2, '-') + "\n" + text;
    const model file(text);
    put_file(SETTINGS, text);
    look_up(file, key.substr(0, key.find('\0')), input.ConsumeIntegralInRange<size_t>(1, 100));
    change(file, key, value);
    put_file(SETTINGS, text);
    if (text.size() < LARGEST)
        list_and_remove(file, key);
    return 0;
}
