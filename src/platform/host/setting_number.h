// A setting as a number, for who must tell 0 from none.
#pragma once

namespace host {

// Reads the number at the start of the value of KEY as get_CFG_int does; false where there is none.
bool read_setting_number(const char *key, int &number);

} // namespace host
