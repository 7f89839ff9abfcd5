#include "platform/platform.h"

namespace platform {

#define VELM_SYSCALL_DEFAULT(name) &native::name,

// Built before the library's other static objects, whose priorities come
// after this one: on Windows the addresses of imported functions are only
// known at load, so the table is filled then.
const Syscalls kNativeSyscalls __attribute__((init_priority(101))) = {
    VELM_PLATFORM_CALLS(VELM_SYSCALL_DEFAULT)};
Syscalls syscalls __attribute__((init_priority(101))) = {
    VELM_PLATFORM_CALLS(VELM_SYSCALL_DEFAULT)};

#undef VELM_SYSCALL_DEFAULT

}  // namespace platform
