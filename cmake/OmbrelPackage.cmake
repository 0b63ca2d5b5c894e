# The Debian package, made by tools/package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ombrel)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "raster image editor with layers and colour management")
set(CPACK_PACKAGE_DESCRIPTION
"Ombrel paints, retouches and composes images in layers and groups, with many
blend modes and with real colour management. Pixels are 16-bit floating-point
numbers in linear light, and documents may be larger than memory. It opens and
writes PNG, JPEG, HEIC, TIFF and WebP files.
.
Its verbs convert, export, describe and edit files from the command line,
without a display.")
set(CPACK_PACKAGE_CONTACT "Ombrel developers <developers@ombrel.invalid>")
if(DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
  set(CPACK_PACKAGE_CONTACT "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
endif()
set(CPACK_PACKAGE_FILE_NAME ombrel)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The x86-64-v2 baseline; the package of that name refuses to be installed elsewhere.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  set(CPACK_DEBIAN_PACKAGE_DEPENDS sse4.2-support)
endif()
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "hicolor-icon-theme, shared-mime-info, desktop-file-utils, libgl1-mesa-dri")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS qt6-wayland)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
