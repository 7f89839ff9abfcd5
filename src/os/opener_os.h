#ifndef VELMIO_OS_OPENER_OS_H_
#define VELMIO_OS_OPENER_OS_H_

#include <string>
#include <vector>

#include <velm/io/opener>

namespace velm::io {

// Everything the three OS back-ends share: they differ only in how they open
// streams. Holds no state that changes, so every operation is independent of
// the object.
class OpenerOS : public Opener {
 public:
  OpenerOS(OpenerType type, const char* name);
  ~OpenerOS() override;

  OpenerType GetType() const override;
  const std::string& GetName() const override;
  const std::string& GetRoot() const override;
  bool IsFile(const std::string& path) override;
  bool IsDirectory(const std::string& path) override;
  bool StandardizePath(const std::string& path, std::string& out) override;
  int64_t GetModifiedTime(const std::string& path) override;
  bool CreateDirectories(const std::string& path) override;
  bool RemoveFile(const std::string& path) override;
  bool RemoveDirectory(const std::string& path) override;
  void List(const std::string& path, std::vector<std::string>& out) override;
  void ListFiles(const std::string& path, bool recursive, std::vector<std::string>& out) override;

 private:
  OpenerType type_;
  std::string root_;
  std::string name_;
};

}  // namespace velm::io

#endif  // VELMIO_OS_OPENER_OS_H_
