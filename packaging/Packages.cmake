# The packages. The version is the project's, with the build behind it.

set(CPACK_PACKAGE_NAME vintra)
set(CPACK_PACKAGE_VENDOR "The developers of Vintra")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "multitrack screen recorder")
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
    WORLD_EXECUTE)
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};Vintra;program;/;${CMAKE_BINARY_DIR};Vintra;package-device;/")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${VINTRA_BUILD})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Vintra records the screen, cameras, microphones and what the computer
plays, each into a file of its own and all on one clock. A timeline file
opens the recording in a video editor with every track at zero.
.
The package holds the program, the command line tools vintra-take and
vintra-timeline, and a virtual audio device for all users.")
if(VINTRA_SITE_URL)
  set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${VINTRA_SITE_URL})
endif()
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# The libraries are read from the programs. What they load by name can't be: modules of QML, fonts, sessions of sound,
# and the graphics driver, which is needed on the few desktops that share the screen in its memory alone.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "pipewire")
if(TARGET vintra)
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", qml6-module-qtquick, qml6-module-qtquick-controls, \
qml6-module-qtquick-layouts, qml6-module-qtquick-templates, qml6-module-qtquick-window, qml6-module-qtqml, \
qml6-module-qtqml-workerscript, libqt6svg6")
endif()
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "wireplumber, xdg-desktop-portal, packagekit, fonts-inter, qt6-wayland, bash-completion, \
libegl1, libgles2")

set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME vintra-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES "/\\\\.git/" "/\\\\.git$" "^${CMAKE_SOURCE_DIR}/build/"
    "^${CMAKE_SOURCE_DIR}/recordings/" "/\\\\.cache/")
include(CPack)
