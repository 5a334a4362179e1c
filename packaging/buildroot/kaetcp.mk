# The plug-in in an image of Buildroot. See docs/installing.md for what to change here.

KAETCP_VERSION = 1.0.0
KAETCP_SITE = /path/to/kaetcp
KAETCP_SITE_METHOD = local
KAETCP_DEPENDENCIES = device-host
KAETCP_CONF_OPTS = \
	-DKAETCP_DEVHOST=OFF \
	-DKAETCP_HOST_LIBRARY=$(STAGING_DIR)/usr/lib/libe.so \
	-DKAETCP_PLUGIN_DIR=lib/device/plugins

$(eval $(cmake-package))
