// A host program: the installed headers and the package's libraries alone. The build puts
// <windows.h> before or after the headers; RemoveDirectory works either way.
#if defined(HOST_WINDOWS_H_FIRST)
#include <windows.h>
#endif
#include <velm/io/opener>
#include <velm/io/path>
#include <velm/io/version>
#include <velm/log/log>
#if defined(HOST_WINDOWS_H_AFTER)
#include <windows.h>
#endif
#include <cstdio>
#include <cstring>
#include <memory>

namespace io = velm::io;
static_assert(__cplusplus >= 201703L, "C++17 comes with the package");
#define HOST_TEXT(x) #x
#define HOST_NUMBER(x) HOST_TEXT(x)
static const char kHeaderVersion[] = HOST_NUMBER(VELMIO_VERSION_MAJOR) "."
    HOST_NUMBER(VELMIO_VERSION_MINOR) "." HOST_NUMBER(VELMIO_VERSION_PATCH);
static int failures = 0;
#define CHECK(ok) (ok) ? void() : (std::fprintf(stderr, "FAILED: %s\n", #ok), void(++failures))

// A back-end of the host's own, the one the archive fuzzer reads through: it
// derives from the exported contracts, whose virtual tables must be exported,
// and overrides RemoveDirectory as a host must where <windows.h> renames it.
#pragma push_macro("RemoveDirectory")
#undef RemoveDirectory
#include "../../fuzz/memory_opener.h"
#pragma pop_macro("RemoveDirectory")

int main(int argc, char** argv) {
  CHECK(argc == 2 && std::strcmp(kHeaderVersion, HOST_PACKAGE_VERSION) == 0);
  io::LogChannel = 3;
  // The sink lives in velmlogbase, which the package links for the host.
  static int errors = 0;
  velm::log::SetSink([](void*, unsigned, int, bool is_error, const char*) { errors += is_error; },
                     nullptr);
  CHECK(io::LoadZip("missing.zip") == nullptr && errors == 1);
  // One stored member, "a.txt" holding "hi", read through the host's back-end.
  static const char kZip[] = "PK\3\4\12\0\0\0\0\0\0\0\0\0\0\0\0\0\2\0\0\0\2\0\0\0\5\0\0\0a.txthi";
  fuzz::MemoryOpener memory("mem.zip", std::string(kZip, sizeof kZip - 1), true);
  CHECK(memory.IsReady() && memory.CheckReady());
  io::Opener* zip = io::LoadZip("mem.zip", &memory);
  std::unique_ptr<io::Input> member(zip ? zip->OpenInput("a.txt") : nullptr);
  char buffer[16] = {};
  CHECK(member && member->Read(buffer, 16) == 2 && std::strcmp(buffer, "hi") == 0);
  member.reset();
  io::UnloadZip(zip);

  io::Opener* sys = io::GetOpener(io::OpenerTypeSys);
  std::string dir;
  CHECK(sys->StandardizePath(std::string(argv[argc - 1]) + "/made", dir));
  CHECK(sys->CreateDirectories(dir));
  std::unique_ptr<io::Output> output(sys->OpenOutput(dir + "/f.bin"));
  CHECK(output && output->Write("0123456789", 10) == 10);
  output.reset();
  std::unique_ptr<io::Input> input(sys->OpenInput(dir + "/f.bin"));
  CHECK(input && input->Seek(6, 0) == 0 && input->Read(buffer, 16) == 4 &&
        std::memcmp(buffer, "6789", 4) == 0);
  input.reset();
  // The call compiles to the library's operation whether or not the macro of
  // <windows.h> is in force here.
  CHECK(sys->RemoveDirectory(dir) && !sys->IsDirectory(dir));
  std::printf("%s: %s\n", argv[0], failures == 0 ? "passed" : "FAILED");
  return failures == 0 ? 0 : 1;
}
