// SPDX-License-Identifier: MIT
// LineParams: the fields of an input line as parameters of an expression.
#ifndef LOOM_LINE_PARAMS_H
#define LOOM_LINE_PARAMS_H

#include <string>
#include <string_view>
#include <vector>

#include "loomkit/rpn/param_set.h"

namespace loom {

/// $line, $f1 to $f<n>, $nf (number of fields), $nr (number of the line),
/// $prev (the result of the line before, once there is one); every other name
/// is asked of another set. A line is taken apart only when a field is asked
/// for. Counted like its base.
class LineParams : public GRpnParamSet {
 public:
  /// An empty separator: fields are separated by runs of blanks and tabs, and
  /// those at the ends count for nothing. Any other one separates at each of
  /// its occurrences. Keeps a reference on `others`.
  LineParams(std::string fieldSeparator, GRpnParamSet* others);

  /// Makes `text` the current line; the caller keeps it until the next one.
  void setLine(const std::string& text, double number);
  void setPrevious(const GRpnValue& value);

  bool lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) override;

  /// The parameters that every line has, as they are written: "$line" and so on.
  [[nodiscard]] static std::vector<std::string> names() { return {"$line", "$nf", "$nr", "$prev"}; }

 protected:
  ~LineParams() override { rest->decRef(); }

 private:
  const std::vector<std::string_view>& fields();
  bool field(std::string_view digits, GRpnValue* value);

  std::string separator;
  GRpnParamSet* rest;
  std::string_view line;
  double lineNumber = 0;
  GRpnValue previous;
  bool hasPrevious = false;
  bool isSplit = false;
  std::vector<std::string_view> parts;
};

/// Takes a line apart as LineParams does.
void splitFields(std::string_view line, std::string_view separator,
                 std::vector<std::string_view>* fields);

}  // namespace loom

#endif  // LOOM_LINE_PARAMS_H
