// SPDX-License-Identifier: MIT
// The members of a material archive, in the order in which they are written.
// The description and the textures, which have names of their own, stand behind
// the labels and the preview.
#ifndef LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_LAYOUT_H
#define LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_LAYOUT_H

namespace loomkit::material {

inline constexpr char idName[] = "id.txt";
inline constexpr char labelsName[] = "name.csv";
inline constexpr char metaInfoName[] = "meta.txt";
/// Not ".jpg": that keeps the preview out of the list of textures.
inline constexpr char previewName[] = "preview.jpeg";
inline constexpr char timeStampName[] = "timestamp.txt";

/// What the description's name ends in, in either case; the first is preferred.
inline constexpr const char* descriptionExtensions[] = {".mat", "._mat"};

/// Between language and label, and between the lines, of the labels.
inline constexpr char labelSeparator = ';';
inline constexpr char labelLineEnd = '\n';

}  // namespace loomkit::material

#endif  // LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_LAYOUT_H
