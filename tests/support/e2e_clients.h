// Client moves shared by the end-to-end tests: the served-probe requests, sends in
// pieces, abrupt closes and the count of connections the daemon has finished with.
#ifndef CAMRCD_SUPPORT_E2E_CLIENTS_H_
#define CAMRCD_SUPPORT_E2E_CLIENTS_H_

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "client/client_request.h"
#include "support/daemon_harness.h"

namespace camrcd {

// Sends a device information request and reads its reply: true when a reply with
// sub-command 0x01 and a good trailer came back.
bool info_served(int socket);

// Sends a close request: true when exactly the 32-byte close reply came back and the
// server then closed the connection.
bool close_served(int socket);

// True when a close reply header (length 0, 0x77 0x33 0x10 0xF1) is in reply.
bool is_close_reply(const Reply& reply);

// Sends bytes in pieces of the given sizes (the rest last), pausing pause_ms between.
bool send_in_pieces(int socket, const uint8_t* data, size_t length,
                    const std::vector<size_t>& pieces, int pause_ms);

// Closes with a reset instead of an orderly end (SO_LINGER 0).
void close_with_reset(int socket);

// Connections the daemon has finished with: failed logins plus close sequences.
size_t ended_connections(const DaemonHarness& daemon);

// Waits until ended_connections reaches count.
bool wait_for_ended(const DaemonHarness& daemon, size_t count, int timeout_ms = kDaemonWaitMs);

}  // namespace camrcd

#endif  // CAMRCD_SUPPORT_E2E_CLIENTS_H_
