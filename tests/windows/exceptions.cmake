# SPDX-License-Identifier: MIT
# What of the tests is not built for Windows, and why.

# These call POSIX themselves, or run programs of a Linux machine.
set(LOOMKIT_TESTS_LEFT_OUT
  atomic_file_posix_test.cpp       # rights, owners, links, signals
  process_posix_test.cpp           # signals, groups, descriptors, a shell's programs
  ar_witness_test.cpp              # ar
  real_archives_test.cpp           # a Debian package, unzip
  zip/zip_witness_test.cpp         # unzip, 7z, bsdtar, python3
  witness_test.cpp)                # python3, sqlite3, gdal and more

# Not built there.
set(LOOMKIT_TEST_FOLDERS_LEFT_OUT
  house   # checks of the tree, the same on each system
  tools)  # runs sessions of a POSIX shell
