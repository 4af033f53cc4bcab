// SPDX-License-Identifier: MIT
// The names of the files that make up a table.
#ifndef LOOMKIT_XBASE_FILE_NAMES_H
#define LOOMKIT_XBASE_FILE_NAMES_H

#include <string>

namespace loomkit::xbase {

/// `name` with ".extension" behind it, unless its last component has one.
std::string withExtension(const std::string& name, const std::string& extension);

/// The path of a table's companion, of the same name but the extension: the file
/// that is there, in whatever letter case, or else the name for a new one, whose
/// extension is in the case of the table's.
std::string companionPath(const std::string& path, const std::string& extension);

/// By what name expressions call a table: the last component without its
/// extension, in capitals.
std::string aliasOf(const std::string& path);

/// ASCII letters in capitals.
std::string inCapitals(std::string text);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_FILE_NAMES_H
