#ifndef VELMIO_CORE_READ_AHEAD_RULES_H_
#define VELMIO_CORE_READ_AHEAD_RULES_H_

namespace velm::io {

// How a stream of the library answers where its own calls and a positional
// read of its descriptor could differ, so that a reader that reads ahead
// through the descriptor can answer Read and IsEOF as the stream would.
// Seeks need no rule: every stream takes one within its data, and a reader
// leaves any other to the stream itself.
struct ReadAheadRules {
  // IsEOF once the position reaches the size; otherwise once a read came
  // back short, until the next seek, as stdio's end-of-file flag does.
  bool end_at_size;
  // Reads stop at the size; otherwise they go on to the file's end, for a
  // file that grew since it was opened.
  bool reads_stop_at_size;
  // A failing read gives -1; otherwise the bytes before the failure, as
  // fread does.
  bool failure_is_negative;
};

// A second face of the library's inputs, found with dynamic_cast. Internal;
// the exported contracts stay as they are.
class ReadAheadFace {
 public:
  virtual ReadAheadRules GetReadAheadRules() const = 0;

 protected:
  ReadAheadFace() = default;
  ReadAheadFace(const ReadAheadFace&) = default;
  ReadAheadFace& operator=(const ReadAheadFace&) = default;
  ~ReadAheadFace() = default;
};

}  // namespace velm::io

#endif  // VELMIO_CORE_READ_AHEAD_RULES_H_
