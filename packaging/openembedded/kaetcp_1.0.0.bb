# The plug-in in an image of OpenEmbedded. See docs/installing.md for what to change here.

SUMMARY = "Plug-in that writes the kernel's TCP/IP tunables from configuration documents"
LICENSE = "CLOSED"

inherit cmake externalsrc
EXTERNALSRC = "/path/to/kaetcp"
DEPENDS = "device-host"

EXTRA_OECMAKE = "\
    -DKAETCP_DEVHOST=OFF \
    -DKAETCP_HOST_LIBRARY=${STAGING_LIBDIR}/libe.so \
    -DKAETCP_PLUGIN_DIR=${baselib}/device/plugins \
"

FILES:${PN} += "${libdir}/device/plugins/libkaetcp.so"
