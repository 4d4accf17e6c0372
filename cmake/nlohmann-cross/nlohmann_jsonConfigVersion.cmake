# Any version request is met by the Debian package's 3.x headers.
set(PACKAGE_VERSION 3)
set(PACKAGE_VERSION_COMPATIBLE TRUE)
