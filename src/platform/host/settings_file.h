// The settings file as a whole: what an administrator's tool lists and changes. The daemon reads
// single settings through platform/config_store.h and never writes.
#pragma once

#include <string_view>

namespace host {

// Whether a line of the file can hold KEY: not empty, no comment, no '=' and no newline in it.
bool is_setting_key(std::string_view key);

// Whether a line can hold VALUE: no newline, no NUL.
bool is_setting_value(std::string_view value);

enum class settings_result { done, refused, locked, too_large, failed }; // failed: see errno

// Puts VALUE into the line of KEY that counts, or adds a line; every other line stays as it is. The
// change is on the disk once this has returned done.
settings_result set_setting(std::string_view key, std::string_view value);

// Removes every line of KEY.
settings_result unset_setting(std::string_view key);

// Calls VISIT for every setting that counts, in the order of the file.
settings_result list_settings(void (*visit)(std::string_view key, std::string_view value));

} // namespace host
