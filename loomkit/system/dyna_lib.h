// SPDX-License-Identifier: MIT
// GDynaLib: a dynamically loaded library, named without its platform's suffix.
//
//   GDynaLib math("libm.so.6");    // ends in no ".so": becomes "libm.so.6.so"
//   GDynaLib filter("./filter");   // "./filter.so" here
//   if (auto run = reinterpret_cast<void (*)(int)>(filter.getFunction("run"))) run(1);
#ifndef LOOMKIT_SYSTEM_DYNA_LIB_H
#define LOOMKIT_SYSTEM_DYNA_LIB_H

#include <memory>
#include <string>

#include "loomkit/platform/export.h"

/// Loads a library and gives out the addresses of its functions, which are good until
/// it is closed. A library that cannot be loaded leaves the object closed, without a
/// message. A copy shares the library with its source, and the first of the two to end
/// closes it for both. Nothing throws, apart from an allocation that fails. Threads can
/// share an object as long as none of them closes it.
class LOOMKIT_API GDynaLib {
 public:
  /// The type of the addresses, which callers cast to the function's real type.
  using GetProc = int (*)();

  /// Loads `name`, to which the platform's suffix is added unless it is longer
  /// than the suffix and ends in it, letter case included.
  GDynaLib(const std::string& name);
  GDynaLib(const GDynaLib&);
  GDynaLib& operator=(const GDynaLib&);
  /// Closes the library.
  ~GDynaLib();

  /// True if the library is loaded.
  [[nodiscard]] bool isOpen() const;

  /// Releases the library. Does nothing when it is closed already.
  void close();

  /// The function's address; null if there is none or the library is closed.
  [[nodiscard]] GetProc getFunction(const char* functionName) const;

  /// The platform's suffix, such as ".so".
  static const char* getExtension();

 private:
  std::string name;
  std::shared_ptr<void*> handle;  // the cell is null while the library is closed
  static const char* sExt;
};

#endif  // LOOMKIT_SYSTEM_DYNA_LIB_H
