// How the settings are told of, to readers and to scripts.
#pragma once

// All of them, with what they hold now, for 80 columns; the exit status.
int describe_settings();

// uplinkctl names settings: a line a setting of what stands in columns, a tab between two: key,
// indexes
// ("0-8" if each key has one, "1-8" if the bare key is index 0's, empty if there is but one key),
// range, words that it takes, default, what becomes of another value, what it does ("\n" between
// lines).
int print_setting_names();
