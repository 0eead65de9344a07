// What a recording leaves out of its texts: the PPP accounts always, addresses on request.
#pragma once

#include <string_view>

namespace secrets {

void add(const char *value);

// TEXT without the secrets; with REPLACE_ADDRESSES every IPv4, IPv6 and hardware address is
// another one, the same for the same address. Two addresses whose first N bits agree have
// replacements of which this is true as well, so that networks overlap as before; the first 8 bits
// of an IPv4 and the first 16 of an IPv6 address stay, and so do netmasks. The text is valid until
// the next call.
std::string_view leave_out(std::string_view text, bool replace_addresses);

} // namespace secrets
