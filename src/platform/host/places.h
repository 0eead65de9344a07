// Where the layer keeps things. Other programs and scripts rely on these names.
#pragma once

namespace host {

inline constexpr char SETTINGS_FOLDER[] = "/etc/uplinkd";
inline constexpr char SETTINGS_FILE[] = "/etc/uplinkd/settings";
inline constexpr char SETTINGS_LOCK[] = "/etc/uplinkd/.settings.lock";

inline constexpr char ITEM_FOLDER[] = "/run/uplinkd/items";
inline constexpr char FLAG_FOLDER[] = "/run/uplinkd/flags";
inline constexpr char BUS_FOLDER[] = "/run/uplinkd/bus";

inline constexpr char LOG_FOLDER[] = "/var/log/uplinkd";
inline constexpr char LOG_FILE[] = "/var/log/uplinkd/uplinkd.log";
inline constexpr char OLD_LOG_FILE[] = "/var/log/uplinkd/uplinkd.log.1";
inline constexpr char LOG_BACKUP_FOLDER[] = "/var/log/uplinkd/backup";

} // namespace host
