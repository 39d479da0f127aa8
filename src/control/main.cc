// Process entry of the daemon: hands over to the start-up and listener.
#include "control/listener.h"

int main(int argc, char** argv) {
  return camrcd::run_control_server(argc, argv);
}
