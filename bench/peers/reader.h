#ifndef VELMIO_BENCH_PEERS_READER_H_
#define VELMIO_BENCH_PEERS_READER_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velm::bench {

// One member of a test archive, in the archive's order, and what reading it
// must give.
struct Entry {
  std::string name;
  uint64_t size = 0;
  uint32_t crc = 0;
};

// Ends the program with a message on stderr: a reader that disagrees makes
// every number in the table worthless.
[[noreturn]] void Fail(const std::string& message);

// The median of times measured in runs.
double Median(std::vector<double> values);

// Takes the bytes of one member after another from one reader on one
// thread, into its own buffer, and checks each member's length, and on a
// verifying pass its CRC-32, against the Entry.
class Drain {
 public:
  Drain(std::string reader, bool verify);

  void Start(const Entry& entry);
  char* data() { return buffer_.data(); }
  size_t size() const { return buffer_.size(); }
  // Accounts for one read's result; false at the end of the member.
  // A negative result fails.
  bool Take(int64_t got);
  void Finish();

  // Fails with the reader's name and the member's.
  [[noreturn]] void Fail(const std::string& what) const;

 private:
  std::string reader_;
  bool verify_;
  const Entry* entry_ = nullptr;
  uint64_t bytes_ = 0;
  uint32_t crc_ = 0;
  std::vector<char> buffer_;
};

// An archive held open by one reader. Destroying it closes the archive.
class Mounted {
 public:
  virtual ~Mounted() = default;
  // Opens, reads to the end and closes entries[first, last) in turn; a
  // reader that finds members by walking its directory walks from the
  // first member. Fails the program on any error.
  virtual void Read(const std::vector<Entry>& entries, size_t first, size_t last, bool verify) = 0;
};

class Reader {
 public:
  virtual ~Reader() = default;
  virtual std::string Name() const = 0;
  // Opens and indexes the archive at path; fails the program if it cannot.
  virtual std::unique_ptr<Mounted> Mount(const std::string& path) = 0;
  // True if two threads may Read one Mounted at once; otherwise each thread
  // mounts the archive for itself.
  virtual bool SharesMount() const = 0;
  // False for a reader that reads its directory only as it walks it: its
  // mount costs nothing and is left out of the mount column's ratio.
  virtual bool IndexesAtMount() const { return true; }
  // How the two-thread run differs from plain parallel use, or "".
  virtual std::string ThreadNote() const { return ""; }
};

// Built when the peer's package was found at configure time.
std::unique_ptr<Reader> MakePhysfsReader(const char* argv0);
std::unique_ptr<Reader> MakeLibzipReader();
std::unique_ptr<Reader> MakeMinizipReader();

// type: the value of velm::io::OpenerType for sys, cfile or mmap.
std::unique_ptr<Reader> MakeVelmioReader(int type);

}  // namespace velm::bench

#endif  // VELMIO_BENCH_PEERS_READER_H_
