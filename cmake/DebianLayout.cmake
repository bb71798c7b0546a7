# SPDX-License-Identifier: Apache-2.0
# Run by cpack on what it is about to pack: Debian's zsh looks for packages' completions in a folder of its own.
set(zsh ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/Program/usr/share/zsh)
file(RENAME ${zsh}/site-functions ${zsh}/vendor-completions)
