// The switch's ports, and which of them is the WAN's.
#pragma once

#include <array>
#include <cstddef>

inline constexpr int PORT_COUNT = 8;
inline constexpr int PORT_LINKED = 1;

using port_states = std::array<int, PORT_COUNT>;

// States that a short or malformed list does not give are 0; an empty list gives -1 throughout.
port_states read_port_states();

// Its position in that list.
size_t wan_port();
