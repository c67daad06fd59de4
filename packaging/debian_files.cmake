# SPDX-License-Identifier: GPL-3.0-or-later
# Run by cpack on the tree that becomes the Debian package: what that distribution has otherwise than
# an installation from the sources.
set(root ${CPACK_TEMPORARY_DIRECTORY}/usr)
set(documents ${root}/${CPACK_QUILLET_DOCDIR})
file(GLOB pages ${root}/${CPACK_QUILLET_MANDIR}/man1/*.1)
execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)

file(COPY ${CPACK_QUILLET_CHANGELOG} DESTINATION ${documents}
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
execute_process(COMMAND gzip -9n ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)

# Every machine of that distribution has the text of the licence.
file(REMOVE ${documents}/COPYING)

# Completions that belong to packages have a folder of their own.
set(zsh ${root}/${CPACK_QUILLET_DATADIR}/zsh)
file(RENAME ${zsh}/site-functions ${zsh}/vendor-completions)
