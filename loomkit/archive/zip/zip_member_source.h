// SPDX-License-Identifier: MIT
// zip::MemberSource: the two kinds of readers as GZipExtractor sees them. Private to it.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_SOURCE_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_SOURCE_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/archive/zip/zip64_reader.h"
#include "loomkit/archive/zip/zip_member.h"
#include "loomkit/archive/zip/zip_reader.h"

namespace loomkit::zip {

/// The members of an open archive.
class MemberSource {
 public:
  virtual ~MemberSource() = default;

  /// Stays as it is for the life of the object.
  [[nodiscard]] virtual const std::vector<GZipMember>& members() const = 0;
  [[nodiscard]] virtual const std::string& path() const = 0;

  /// How the reading of a member went.
  struct Outcome {
    bool complete = false;  ///< the reader got to the end
    bool right = false;     ///< and size and checksum are those that are stated
    std::string reason;     ///< why not; empty when gOutput was told already
  };
  virtual Outcome read(std::size_t index, const GZip64Reader::Receiver& receiver) = 0;

  /// False when members share their bytes.
  virtual bool isLayoutGood() = 0;
};

/// The readers stay the caller's and have to outlive the source.
std::unique_ptr<MemberSource> sourceOf(GZip64Reader& reader);

/// A source over a GZipReader also finds members by their entries.
class EntrySource : public MemberSource {
 public:
  explicit EntrySource(GZipReader& reader);

  [[nodiscard]] const std::vector<GZipMember>& members() const override { return list; }
  [[nodiscard]] const std::string& path() const override { return reader.getPath(); }
  Outcome read(std::size_t index, const GZip64Reader::Receiver& receiver) override;
  bool isLayoutGood() override;

  /// Requires: the entry is one of the reader's.
  [[nodiscard]] std::size_t indexOf(const GZipEntry* entry) const;

 private:
  GZipReader& reader;
  std::vector<GZipMember> list;
  std::vector<const GZipEntry*> entries;  // in the order of the names, as `list`
};

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_SOURCE_H
