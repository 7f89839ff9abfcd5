#ifndef VELMIO_ZIP_STREAMED_RECORD_H_
#define VELMIO_ZIP_STREAMED_RECORD_H_

#include <velm/io/stream>

#include "zip/inflate_member.h"
#include "zip/zip_entry.h"

namespace velm::io {

// A record whose sizes follow its data (flag bit 3), found from the local
// bytes alone. Where the header holds no sizes, a deflated record ends where
// its deflate stream ends, and a stored one at the first data descriptor whose
// size counts the bytes before it and whose CRC-32 matches them. A descriptor
// behind the data, with its signature or with the record's values, is
// stepped over and gives the member's CRC-32. 64-bit sizes in it where the
// record holds a Zip64 field.
//
// input stands at the data's start, entry.offset. Fills entry's sizes and
// CRC-32 and leaves input behind the record; false where its end cannot be
// found. block is the walk's room for reading through the data.
bool FindStreamedEnd(Input* input, bool zip64, ZipEntry& entry, MeasureBlock& block);

}  // namespace velm::io

#endif  // VELMIO_ZIP_STREAMED_RECORD_H_
