// SPDX-License-Identifier: MIT
// The reader of the notation. It keeps its own stack, so that no text makes the
// machine's grow.
#ifndef LOOMKIT_OBJECT_OBJECT_PARSER_H
#define LOOMKIT_OBJECT_OBJECT_PARSER_H

#include <memory>
#include <vector>

#include "loomkit/object/object.h"

namespace loomkit {

/// Reads one object from a NUL-terminated text.
class ObjectParser {
 public:
  explicit ObjectParser(const char* text) : next(text) {}

  /// Reads the object; `*object` may be null for NULL. On failure
  /// getPosition() and getReason() tell where and why.
  bool parse(std::unique_ptr<GObject>* object);

  /// Behind the object; or where the reading has failed.
  [[nodiscard]] const char* getPosition() const { return next; }
  [[nodiscard]] const char* getReason() const { return reason; }

 private:
  struct Open {
    GSequenceObj* sequence;
    char close;
  };

  bool parseValue();
  bool parseSigned();
  bool parseString();
  bool parseSymbolWord();
  bool parseName();
  bool parseNumber();
  bool openSequence(std::unique_ptr<GSequenceObj> sequence, char close);
  bool closeOrContinue();
  bool take(std::unique_ptr<GObject> value);
  bool fail(const char* why);

  const char* next;
  const char* reason = nullptr;
  std::unique_ptr<GObject> root;
  std::vector<Open> open;
  bool expectsValue = true;
};

}  // namespace loomkit

#endif  // LOOMKIT_OBJECT_OBJECT_PARSER_H
