// SPDX-License-Identifier: MIT
// The backends that are built into the library. The build knows them, by
// loomkit_backend() in their CMakeLists.txt, and writes the list; db/ itself
// knows none of them.
#ifndef LOOMKIT_DB_BACKENDS_H
#define LOOMKIT_DB_BACKENDS_H

class GDbDbFactory;

namespace loomkit::backends {

/// Where each backend keeps the factory that it registers while the program is
/// being loaded. Nobody reads it: that the registry refers to it makes the linker
/// take the backends out of the static library for a host that names only
/// GDbDatabase.
extern const GDbDbFactory* const* const all[];

}  // namespace loomkit::backends

#endif  // LOOMKIT_DB_BACKENDS_H
