# SPDX-License-Identifier: GPL-3.0-or-later
# What is installed where; the programs are installed by their own folders.
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES quillet.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quillet.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo RENAME org.example.quillet.metainfo.xml)
install(FILES ${icon} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
foreach(size picture IN ZIP_LISTS icon_sizes icons)
  install(FILES ${picture} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
endforeach()

# The program opens the guide, and documents may be left out of an installation: it lies with the
# program's data, and a link among the documents leads there.
install(DIRECTORY ${guide} DESTINATION ${CMAKE_INSTALL_DATADIR}/quillet)
file(RELATIVE_PATH way ${CMAKE_INSTALL_FULL_DOCDIR} ${CMAKE_INSTALL_FULL_DATADIR}/quillet/guide)
file(CREATE_LINK ${way} ${CMAKE_CURRENT_BINARY_DIR}/guide SYMBOLIC)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/guide ${CMAKE_SOURCE_DIR}/debian/copyright
              ${CMAKE_SOURCE_DIR}/COPYING
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
foreach(picture threads-1280x800-light article-1280x800-light post-full-1280x800-light
                groups-240x320-light)
  install(FILES ${docs}/${picture}.png DESTINATION ${CMAKE_INSTALL_DOCDIR}/pictures)
endforeach()

set(completions ${CMAKE_CURRENT_SOURCE_DIR}/completion)
foreach(program quillet quillet-script quillet-setup)
  install(FILES ${completions}/${program}.bash RENAME ${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${completions}/${program}.zsh RENAME _${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
  install(FILES ${completions}/${program}.fish
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endforeach()
