# SPDX-License-Identifier: MIT
# What of the tests is not built for Windows, and why.

# These call POSIX themselves, or run programs of a Linux machine.
set(LOOMKIT_TESTS_LEFT_OUT
  directory_handle_test.cpp    # rights as on Unix, links
  dyna_lib_test.cpp            # ".so"
  process_extensions_test.cpp  # descriptors, signals, a shell's programs
  process_test.cpp             # the same
  run_test.cpp                 # the same
  odd_files_test.cpp           # rights, pipes, names that Windows does not have
  scratch_file_test.cpp        # a file without a name
  atomic_file_test.cpp         # rights, owners, links, signals
  ar_extractor_test.cpp        # rights as on Unix
  ar_member_reader_test.cpp    # files in memory
  ar_witness_test.cpp          # ar
  real_archives_test.cpp       # a Debian package
  zip/zip_witness_test.cpp     # unzip, 7z, bsdtar, python3
  # A limit on the memory of the process, files that fail on purpose, links.
  zip/zip_extractor_test.cpp
  zip/zip_hostile_test.cpp
  zip/zip_writer_faults_test.cpp
  zip/zip_writer_test.cpp
  zip/zip64_test.cpp
  witness_test.cpp)            # python3, sqlite3, gdal and more

# Not built there.
set(LOOMKIT_TEST_FOLDERS_LEFT_OUT
  faults  # stands in front of the calls of a POSIX C library
  house   # checks of the tree, the same on each system
  tools)  # runs sessions of a POSIX shell
