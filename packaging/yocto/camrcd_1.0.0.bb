SUMMARY = "Remote-control daemon of the network camera"
DESCRIPTION = "camrcd serves the camera's control port: remote clients read and \
change the camera's settings. camrc is its command-line client."
LICENSE = "CLOSED"

# An example: build from a checkout of this project named by CAMRCD_SRC (local.conf).
inherit externalsrc cmake systemd
EXTERNALSRC = "${CAMRCD_SRC}"

# cmake.bbclass configures for ${prefix} with the SDK's toolchain and installs into
# ${D}; no test, benchmark or download at configure time.
EXTRA_OECMAKE = "-DBUILD_TESTING=OFF -DCAMRCD_BENCH=OFF -DCAMRCD_INIT=systemd \
                 -DCAMRCD_SYSTEMD_UNIT_DIR=${systemd_system_unitdir}"

PACKAGECONFIG ??= "client"
PACKAGECONFIG[client] = "-DCAMRCD_CLIENT=ON,-DCAMRCD_CLIENT=OFF"

SYSTEMD_SERVICE:${PN} = "camrcd.service"
SYSTEMD_AUTO_ENABLE = "enable"
