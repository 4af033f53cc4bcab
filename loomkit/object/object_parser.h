// SPDX-License-Identifier: MIT
// ObjectParser: reads the notation of objects. It keeps its own stack of open
// sequences, so that no text makes the machine stack grow. Private to the folder.
#ifndef LOOMKIT_OBJECT_OBJECT_PARSER_H
#define LOOMKIT_OBJECT_OBJECT_PARSER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/object/object.h"

namespace loomkit {

/// Reads one object from a NUL-terminated text, which has to stay where it is.
class ObjectParser {
 public:
  explicit ObjectParser(const char* text) : next(text) {}

  /// What becomes of whole numbers beyond 32 bits: by default the nearest that has 32
  /// bits; otherwise a float, or a failure beyond the 15 digits of floats in the notation.
  void setKeepWholeNumbers(bool keep) { keepsWholeNumbers = keep; }

  /// Reads the object and stores it in `*object`, which becomes null for the word
  /// NULL. On failure, getPosition() and getReason() say where and why.
  bool parse(std::unique_ptr<GObject>* object);

  /// The position behind the object, or the one at which the reading has failed.
  [[nodiscard]] const char* getPosition() const { return next; }
  /// Why the reading has failed.
  [[nodiscard]] const std::string& getReason() const { return reason; }

 private:
  // A sequence whose closing bracket has not been read yet.
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
  bool takeWhole(std::int32_t nearest, const char* end);
  bool openSequence(std::unique_ptr<GSequenceObj> sequence, char close);
  bool closeOrContinue();
  bool take(std::unique_ptr<GObject> value);
  bool fail(const std::string& why);

  const char* next;
  std::string reason;
  std::unique_ptr<GObject> root;
  std::vector<Open> open;
  bool expectsValue = true;
  bool keepsWholeNumbers = false;
};

}  // namespace loomkit

#endif  // LOOMKIT_OBJECT_OBJECT_PARSER_H
