# SPDX-License-Identifier: GPL-3.0-or-later
# The Debian package: cpack -G DEB in the build folder. What is linked is found by dpkg-shlibdeps; what
# is loaded at run time is named here.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillet)
set(CPACK_PACKAGE_VERSION ${version})
set(CPACK_PACKAGE_VENDOR "Quillet CE")
set(CPACK_PACKAGE_CONTACT "Quillet CE maintainers <maintainers@quillet.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "offline newsreader for Usenet")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS  # whatever may be masked out where it is built
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION news)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Tick the newsgroups you care about, connect once, by hand or every day at a
set time, and everything new is on your machine: read, search and answer it
wherever there is no network. What you wrote goes out with the next
connection.
.
Quillet CE shows threads, quotes and links, every language and encoding,
lists attachments, has a killfile, two editors and a queue of posts, speaks
TLS and goes on by itself after a lost line. It is at home on a desktop and
on a screen of 240x320 pixels.")

# The program does not start without the format of its store.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libgdbm6")
set(recommended
  ca-certificates  # the authorities that certificates of servers are checked against
  libbz2-1.0       # compressed stores
  libsecret-1-0    # passwords in the desktop's password store
  qt6-wayland      # a window of its own on Wayland
  xdg-utils)       # links of articles
set(suggested
  gnome-keyring    # a password store
  gss-ntlmssp      # encrypted logins
  msmtp            # e-mail
  "default-mta | mail-transport-agent"
  network-manager  # connections that are dialled
  fonts-noto-core  # scripts that the desktop's fonts lack
  fonts-noto-cjk
  fonts-noto-color-emoji)
list(JOIN recommended ", " CPACK_DEBIAN_PACKAGE_RECOMMENDS)
list(JOIN suggested ", " CPACK_DEBIAN_PACKAGE_SUGGESTS)

set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian_files.cmake)
set(CPACK_QUILLET_CHANGELOG ${changelog})
foreach(folder DATADIR DOCDIR MANDIR)
  set(CPACK_QUILLET_${folder} ${CMAKE_INSTALL_${folder}})
endforeach()
include(CPack)
