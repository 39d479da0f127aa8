// The protocol reference for client developers, printed as Markdown from the protocol
// tables: the connection and login sequence, every message as a byte table, the status
// codes and code names, and a hex dump of a recorded exchange with the sandbox camera.
//
// The exchange file holds one message per line, "client HEX" or "server HEX", in the
// order they crossed; a line "connection" starts a new connection, and lines starting
// with '#' are comments. Each message is decoded
// as the tables say, so a recording that no longer fits them stops the generator.
#ifndef CAMRCD_TOOLS_WIREGEN_PROTOCOL_REFERENCE_H_
#define CAMRCD_TOOLS_WIREGEN_PROTOCOL_REFERENCE_H_

#include <string>

namespace camrcd {

// The reference with the exchange at exchange_path; false and *error when the
// exchange cannot be read or does not decode.
bool protocol_reference(const char* exchange_path, std::string* out, std::string* error);

}  // namespace camrcd

#endif  // CAMRCD_TOOLS_WIREGEN_PROTOCOL_REFERENCE_H_
