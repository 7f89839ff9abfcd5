#ifndef VELMIO_PLATFORM_NATIVE_H_
#define VELMIO_PLATFORM_NATIVE_H_

// The operations of platform.h as each platform implements them, by the names
// of their entries in Calls. Only the table in calls.cc refers to them.

#include "platform/platform.h"

namespace velm::platform::native {

bool CurrentDirectory(std::string& out);
bool Canonicalize(const std::string& absolute, std::string& out);
FileKind KindOf(const std::string& path);
bool IdentityOf(const std::string& path, FileIdentity& out);
std::int64_t ModifiedTime(const std::string& path);
bool CreateDirectories(const std::string& path);
bool RemoveFile(const std::string& path);
bool RemoveTree(const std::string& path);
bool ListDirectory(const std::string& directory, std::vector<DirectoryEntry>& out);
int Open(const std::string& path, Access access);
int Reopen(int descriptor);
bool SizeOf(int descriptor, std::int64_t& size);
std::int64_t Seek(int descriptor, std::int64_t offset, int whence);
std::int64_t Read(int descriptor, void* buffer, std::size_t count);
std::int64_t ReadAt(int descriptor, void* buffer, std::size_t count, std::int64_t offset);
std::int64_t Write(int descriptor, const void* buffer, std::size_t count);
bool Close(int descriptor);
std::FILE* OpenBuffered(const std::string& path, Access access);
std::FILE* ReopenBuffered(std::FILE* file);
std::size_t ReadBuffered(std::FILE* file, void* buffer, std::size_t count);
std::size_t WriteBuffered(std::FILE* file, const void* buffer, std::size_t count);
int SeekBuffered(std::FILE* file, std::int64_t offset, int whence);
std::int64_t TellBuffered(std::FILE* file);
int BufferedDescriptor(std::FILE* file);
bool CloseBuffered(std::FILE* file);
MapResult Map(const std::string& path, MappedView& view);
void Unmap(const MappedView& view);
void AdviseLargePages(void* block, std::size_t bytes);
std::int64_t LocalTime(std::tm* time);

}  // namespace velm::platform::native

#endif  // VELMIO_PLATFORM_NATIVE_H_
