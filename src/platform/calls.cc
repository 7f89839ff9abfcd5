#include "platform/native.h"

namespace velm::platform {

// Addresses of functions of this library: the table is filled before any
// code runs, so no static constructor depends on its order.
constexpr Calls kNativeCalls = {native::CurrentDirectory,
                                native::Canonicalize,
                                native::KindOf,
                                native::IdentityOf,
                                native::ModifiedTime,
                                native::CreateDirectories,
                                native::RemoveFile,
                                native::RemoveTree,
                                native::ListDirectory,
                                native::Open,
                                native::Reopen,
                                native::SizeOf,
                                native::Seek,
                                native::Read,
                                native::ReadAt,
                                native::Write,
                                native::Close,
                                native::OpenBuffered,
                                native::ReopenBuffered,
                                native::ReadBuffered,
                                native::WriteBuffered,
                                native::SeekBuffered,
                                native::TellBuffered,
                                native::BufferedDescriptor,
                                native::CloseBuffered,
                                native::Map,
                                native::Unmap,
                                native::AdviseLargePages,
                                native::LocalTime};

Calls calls = kNativeCalls;

}  // namespace velm::platform
