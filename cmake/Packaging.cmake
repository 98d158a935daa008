# SPDX-License-Identifier: GPL-3.0-or-later
# The Debian package: the target `package` of a build tree that was configured with -DCMAKE_INSTALL_PREFIX=/usr, as the
# preset `package` does. `cpack` alone takes the programs as they were built last. Included after everything that is
# installed.

# The first entry of Debian's changelog has the package's version; its part before the dash is the program's.
set(changelog "${PROJECT_SOURCE_DIR}/data/debian/changelog")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${changelog}")
file(STRINGS "${changelog}" entry LIMIT_COUNT 1)
string(REGEX MATCH "^velmor \\((.+)-([^-]+)\\) " matched "${entry}")
set(changelog_version "${CMAKE_MATCH_1}")
set(CPACK_DEBIAN_PACKAGE_RELEASE "${CMAKE_MATCH_2}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmor)
set(CPACK_PACKAGE_VENDOR "The Velmor team")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "accounts for a mixing engineer's sound exposure")
set(CPACK_PACKAGE_DESCRIPTION
"Velmor is for people who work with sound all day. It listens through one
channel of a measurement microphone while they mix, and turns it into
calibrated dBA and dBC levels, the day's NIOSH noise dose and the impulse
peaks of EU Directive 2003/10/EC. It keeps no audio.

A session begins when the audio workstation starts and is kept when it
quits. Velmor warns by notifications, helps to calibrate the microphone,
draws reports and exports sessions, and is automated by D-Bus, by URLs and
by the desktop's search.

The package contains the desktop program velmor, the headless meter
velmor-meter for sound files and PipeWire inputs, velmorctl for shells, and
velmor-widget for status bars.")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# All that `cmake --install` installs, and what data/ has for Debian alone.
set(CPACK_INSTALL_CMAKE_PROJECTS
    "${PROJECT_BINARY_DIR};${PROJECT_NAME};ALL;/" "${PROJECT_BINARY_DIR};${PROJECT_NAME};debian;/")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Velmor team <hello@velmor.example>")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${VELMOR_WEBSITE}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Beside the libraries: the bus on which the program lives, the font of all views, the theme that has the icon, what
# PipeWire's library loads to be a client, and the time zones.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "default-dbus-session-bus | dbus-session-bus, fonts-roboto-unhinted, hicolor-icon-theme, pipewire-bin, tzdata")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "ca-certificates, desktop-file-utils, fonts-dejavu-extra, notification-daemon, pipewire, qt6-wayland, sound-theme-freedesktop, wireplumber, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion, jq, waybar")

# What a package must not be made of. CPack reads these lines when it begins.
set(objection "")
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(objection "The package's files say where its programs are: configure with -DCMAKE_INSTALL_PREFIX=/usr, "
                  "not ${CMAKE_INSTALL_PREFIX}, before the package is made.")
elseif(VELMOR_SANITIZERS)
    set(objection "A package is made without sanitizers.")
elseif(NOT changelog_version STREQUAL PROJECT_VERSION)
    set(objection "data/debian/changelog begins with version ${changelog_version}, but the program is "
                  "${PROJECT_VERSION}: add an entry for it.")
endif()
list(JOIN objection "" objection)
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_BINARY_DIR}/CPackProjectConfig.cmake")
if(objection)
    file(CONFIGURE OUTPUT "${CPACK_PROJECT_CONFIG_FILE}" CONTENT "message(FATAL_ERROR [[@objection@]])\n" @ONLY)
else()
    file(WRITE "${CPACK_PROJECT_CONFIG_FILE}" "")
endif()

include(CPack)
