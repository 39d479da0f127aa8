// Placeholder until the start-up and listener land.
#include "control/listener.h"

namespace camrcd {

int run_control_server(int, char**) { return 0; }

}  // namespace camrcd
