// SPDX-License-Identifier: MIT
// What is in a store, for GDbCatalog. The ten calls cannot list tables: the
// catalog reads the directory of the file itself.
#ifndef TESSEL_CATALOG_H
#define TESSEL_CATALOG_H

namespace tessel {

/// Registers the catalog of databases of the type "tessel". Called once, while
/// the program is being loaded.
bool registerCatalog();

}  // namespace tessel

#endif  // TESSEL_CATALOG_H
