// SPDX-License-Identifier: MIT
// The description of a store's table, held and read. Private to the backend.
#ifndef LOOMKIT_DB_TESSEL_TESSEL_STRUCTURE_H
#define LOOMKIT_DB_TESSEL_TESSEL_STRUCTURE_H

#include <memory>

#include "loomkit/db/status.h"
#include "loomkit/db/structure.h"
#include "loomkit/db/tessel/tessel.h"

namespace loomkit {

struct TesselDescrRelease {
  void operator()(TslTableDescr* descr) const { tsl_free_table_descr(descr); }
};
/// Gives a description back to the store on every way out.
using TesselDescr = std::unique_ptr<TslTableDescr, TesselDescrRelease>;

/// Gets the description of the table with that handle.
GDbStatus getTesselDescr(int table, TesselDescr* descr);

/// Checks a caller's view of a table: its fields must be there by their exact
/// names, with their types, and its key fields indexed. The first failure.
GDbStatus checkTesselStructure(const TslTableDescr& descr, const GDbStructure& structure);

/// The number of the field of that name, letter case apart; -1 when there is none.
int findTesselField(const TslTableDescr& descr, const char* name);

/// Aborts when an integer field is stored as nothing that integers are stored as.
std::unique_ptr<GDbStructure> makeTesselStructure(const TslTableDescr& descr);

}  // namespace loomkit

#endif  // LOOMKIT_DB_TESSEL_TESSEL_STRUCTURE_H
