// The Wireshark dissector for the control protocol, printed as Lua from the protocol
// tables: one ProtoField per catalogue field, every message's rows as Lua tables, and
// a fixed runtime that frames the TCP stream (greeting, login, requests and replies,
// reassembling messages split over segments), walks a message's rows as the server
// and the client do, and marks malformed messages instead of raising a Lua error.
#ifndef CAMRCD_TOOLS_WIREGEN_LUA_DISSECTOR_H_
#define CAMRCD_TOOLS_WIREGEN_LUA_DISSECTOR_H_

#include <string>

namespace camrcd {

// The whole dissector; the same bytes every time.
std::string lua_dissector();

}  // namespace camrcd

#endif  // CAMRCD_TOOLS_WIREGEN_LUA_DISSECTOR_H_
