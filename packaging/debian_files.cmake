# SPDX-License-Identifier: GPL-3.0-or-later
# Run by cpack on the tree that becomes the Debian package: what that distribution has otherwise than
# an installation from the sources.
set(share ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
file(GLOB pages ${share}/man/man1/*.1)
execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)

file(COPY ${CPACK_QUILLET_CHANGELOG} DESTINATION ${share}/doc/quillet
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
execute_process(COMMAND gzip -9n ${share}/doc/quillet/changelog COMMAND_ERROR_IS_FATAL ANY)

# Every machine of that distribution has the text of the licence.
file(REMOVE ${share}/doc/quillet/COPYING)

# Completions that belong to packages have a folder of their own.
file(RENAME ${share}/zsh/site-functions ${share}/zsh/vendor-completions)
