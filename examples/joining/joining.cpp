// SPDX-License-Identifier: MIT
// Joining: the parts of a CSV file with the stock in a SQLite database, filtered
// by an expression over the columns.
#include <loomkit/loomkit.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

int fail(const char* what, GDbStatus status) {
  std::printf("%s: %s\n", what, gDbStrError(status));
  return 1;
}

// Two small files to work on.
bool makeFiles(const std::string& folder) {
  std::ofstream(folder + "/parts.csv") << "1;bolt;0.5\n2;nut;0.25\n3;plate;12\n";
  const loomkit::Database stock = loomkit::open("sqlite3:" + folder + "/stock.db");
  if (!stock) return false;
  GSqlQuery query(stock.as<GSqlDatabase>());
  return query.exec("CREATE TABLE stock(part INTEGER, count INTEGER);") == GDbNoError &&
         query.exec("INSERT INTO stock VALUES (1, 400), (2, NULL), (3, 7);") == GDbNoError;
}

int join(const std::string& folder) {
  GDbStructure columns;
  columns.appendField(GDbField("id", GDbFieldInt, 0, 0, true, true));
  columns.appendField(GDbField("name", GDbFieldString, 0, 0, false, false));
  columns.appendField(GDbField("price", GDbFieldFloat, 0, 0, false, false));
  const loomkit::Table parts = loomkit::open("csv:" + folder).openTable("parts", &columns);
  if (!parts) return fail("parts", parts.getStatus());
  const loomkit::Table stock = loomkit::open("sqlite3:" + folder + "/stock.db").openTable("stock");
  if (!stock) return fail("stock", stock.getStatus());
  const GDbStructure stockColumns = stock.getStructure();

  GDbFilteredScan dear(parts, "$price 0.3 >");
  for (const GDbTypedRow& part : dear) {
    GDbRecordSet found;
    const GDbStatus status = stock->lookupKey(GDbKey(0, *part.getInt("id")), &found);
    if (status != GDbNoError) return fail("stock", status);
    for (unsigned i = 0; i < found.getNumRecords(); ++i) {
      const GDbTypedRow entry(*found.getRecord(i), stockColumns);
      std::printf("%-6s %6.2f x %s\n", part.getText(1).c_str(), *part.getFloat("price"),
                  entry.isNull("count") ? "unknown" : entry.getText(1).c_str());
    }
  }
  if (dear.hasFailed()) return 1;  // the reason has gone to gOutput
  return dear.getStatus() == GDbNoError ? 0 : fail("parts", dear.getStatus());
}

}  // namespace

int main() {
  const std::string folder = GDirectory::createTempDir("", "joining");
  const int result = makeFiles(folder) ? join(folder) : 1;
  GDirectory(folder).remove(true, false);
  return result;
}
