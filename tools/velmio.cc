// velmio: lists, prints and extracts the members of a zip archive through the
// library's public interface.
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/io/stream>

namespace io = velm::io;

namespace {

struct ZipCloser {
  void operator()(io::Opener* archive) const { io::UnloadZip(archive); }
};
using ArchivePtr = std::unique_ptr<io::Opener, ZipCloser>;

int Usage() {
  std::fprintf(stderr,
               "usage: velmio [--via sys|cfile|mmap] list ARCHIVE\n"
               "       velmio [--via sys|cfile|mmap] cat ARCHIVE MEMBER\n"
               "       velmio [--via sys|cfile|mmap] extract ARCHIVE DIRECTORY\n");
  return 2;
}

bool ParseBackEnd(const std::string& name, io::OpenerType& type) {
  if (name == "sys") type = io::OpenerTypeSys;
  else if (name == "cfile") type = io::OpenerTypeCFile;
  else if (name == "mmap") type = io::OpenerTypeMMap;
  else return false;
  return true;
}

// Copies the whole stream to out; false if the stream ends early or out fails.
bool Copy(io::Input& input, std::FILE* out, io::Output* sink = nullptr) {
  std::vector<char> buffer(1 << 16);
  int64_t total = 0;
  for (;;) {
    int64_t n = input.Read(buffer.data(), buffer.size());
    if (n <= 0) break;
    total += n;
    size_t count = static_cast<size_t>(n);
    if (sink != nullptr ? sink->Write(buffer.data(), count) != n
                        : std::fwrite(buffer.data(), 1, count, out) != count) {
      return false;
    }
  }
  return total == input.GetSize();
}

int List(io::Opener& archive) {
  std::vector<std::string> names;
  archive.ListFiles("", true, names);
  for (const std::string& name : names) {
    std::unique_ptr<io::Input> input(archive.OpenInput(name));
    long long size = input ? static_cast<long long>(input->GetSize()) : -1;
    char when[32] = "-";
    std::time_t modified = static_cast<std::time_t>(archive.GetModifiedTime(name));
    if (modified != -1) {
      std::strftime(when, sizeof when, "%Y-%m-%d %H:%M", std::localtime(&modified));
    }
    std::printf("%12lld  %s  %s%s\n", size, when, name.c_str(),
                input ? "" : "  (cannot be opened)");
  }
  std::printf("%zu files\n", names.size());
  return 0;
}

int Cat(io::Opener& archive, const std::string& member) {
  std::unique_ptr<io::Input> input(archive.OpenInput(member));
  if (!input) {
    std::fprintf(stderr, "velmio: no member %s\n", member.c_str());
    return 1;
  }
  return Copy(*input, stdout) ? 0 : 1;
}

int Extract(io::Opener& archive, const std::string& directory) {
  io::Opener* sys = io::GetOpener(io::OpenerTypeSys);
  std::string root;
  if (!sys->StandardizePath(directory, root)) {
    std::fprintf(stderr, "velmio: bad directory %s\n", directory.c_str());
    return 1;
  }
  std::vector<std::string> names;
  archive.ListFiles("", true, names);
  int failed = 0;
  for (const std::string& listed : names) {
    // Only the archive's own canonical form of a name is used on disk: it has
    // no ".." and no leading separator, so nothing lands outside root.
    std::string name;
    if (!archive.StandardizePath(listed, name) || name.empty()) {
      std::fprintf(stderr, "velmio: skipping %s\n", listed.c_str());
      ++failed;
      continue;
    }
    std::string target;
    std::string parent = root;
    std::string::size_type slash = name.rfind('/');
    if (slash != std::string::npos) parent += "/" + name.substr(0, slash);
    if (!sys->IsDirectory(parent)) sys->CreateDirectories(parent);
    sys->StandardizePath(root + "/" + name, target);
    std::unique_ptr<io::Input> input(archive.OpenInput(name));
    std::unique_ptr<io::Output> output(sys->OpenOutput(target));
    if (!input || !output || !Copy(*input, nullptr, output.get())) {
      std::fprintf(stderr, "velmio: cannot extract %s\n", name.c_str());
      ++failed;
      continue;
    }
    std::printf("%s\n", target.c_str());
  }
  return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  io::OpenerType via = io::OpenerTypeCFile;
  if (args.size() >= 2 && args[0] == "--via") {
    if (!ParseBackEnd(args[1], via)) return Usage();
    args.erase(args.begin(), args.begin() + 2);
  }
  if (args.size() < 2) return Usage();
  const std::string& command = args[0];
  size_t expected = command == "list" ? 2 : 3;
  if ((command != "list" && command != "cat" && command != "extract") ||
      args.size() != expected) {
    return Usage();
  }
  ArchivePtr archive(io::LoadZip(args[1], io::GetOpener(via)));
  if (!archive) {
    std::fprintf(stderr, "velmio: cannot load %s\n", args[1].c_str());
    return 1;
  }
  if (command == "list") return List(*archive);
  if (command == "cat") return Cat(*archive, args[2]);
  return Extract(*archive, args[2]);
}
