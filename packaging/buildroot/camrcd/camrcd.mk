################################################################################
#
# camrcd
#
################################################################################

# An example for a BR2_EXTERNAL tree: the sources are a checkout of this project,
# named by CAMRCD_OVERRIDE_SRCDIR (local.mk) or by CAMRCD_SITE below.
CAMRCD_VERSION = 1.0.0
CAMRCD_SITE = $(BR2_EXTERNAL_CAMERA_PATH)/../camrcd
CAMRCD_SITE_METHOD = local
CAMRCD_LICENSE = Proprietary

# cmake-package configures for /usr with Buildroot's toolchain and installs into the
# target with DESTDIR; no test, benchmark or download at configure time.
CAMRCD_CONF_OPTS = -DBUILD_TESTING=OFF -DCAMRCD_BENCH=OFF

ifeq ($(BR2_PACKAGE_CAMRCD_CLIENT),y)
CAMRCD_CONF_OPTS += -DCAMRCD_CLIENT=ON
else
CAMRCD_CONF_OPTS += -DCAMRCD_CLIENT=OFF
endif

# The start-up file of the image's init: the unit under systemd, else the BusyBox
# init script /etc/init.d/S50camrcd.
ifeq ($(BR2_INIT_SYSTEMD),y)
CAMRCD_CONF_OPTS += -DCAMRCD_INIT=systemd -DCAMRCD_SYSTEMD_UNIT_DIR=/usr/lib/systemd/system
else
CAMRCD_CONF_OPTS += -DCAMRCD_INIT=busybox
endif

$(eval $(cmake-package))
