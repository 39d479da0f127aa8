// Start-up and listener: prepares the settings record, opens the TCP listener on
// control_port and accepts for ever, one detached connection thread per client.
#ifndef CAMRCD_CONTROL_LISTENER_H_
#define CAMRCD_CONTROL_LISTENER_H_

namespace camrcd {

// The start-up steps before the listener: runtime fields, banner, test mode (a first
// argument beginning with "T"), motion-area directory, web root, product identity,
// selectors and the start-up groups.
void prepare_settings(int argc, char** argv);

// Runs the start-up steps and the accept loop. Returns the process exit status:
// 1 when a socket option cannot be set, 0 after a failed bind; otherwise never returns.
int run_control_server(int argc, char** argv);

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_LISTENER_H_
