// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

// Limits that are this reader's own choice. A file arrives from a stranger, and each of these stops a small
// file from becoming large work or large memory. They cut only what no sane file holds.
namespace FlvReader {

// Nesting of AMF0 values below "onMetaData". A nested strict array costs a file five bytes a level and the
// parser a stack frame with a 256-byte name; media threads on a device have stacks of 1 MiB or less. The
// deepest value that is ever recorded stands at depth 3.
constexpr int kMaxAmf0Depth = 64;

// Entries kept of each of the two arrays of the key-frame index: three days at one key frame a second. Both
// arrays are cut alike, so that an index stays usable up to the cut.
constexpr size_t kMaxIndexEntries = size_t{1} << 18;

// Bytes of one codec configuration (an AudioSpecificConfig, an avcC record, one HEVC parameter set). Real
// ones are under 1 KiB; a whole key frame taken for a configuration would be copied several times over on its
// way into a track format.
constexpr size_t kMaxConfigurationBytes = size_t{256} << 10;

// Width and height in pixels beyond which an AVC parameter set is taken for damage. H.264 ends at 16880 at
// its highest level.
constexpr unsigned kMaxPictureDimension = 32767;

}  // namespace FlvReader
