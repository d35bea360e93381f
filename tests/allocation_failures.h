// Failed allocations are part of the contract the including program tests: under the address
// sanitizer its allocator answers null instead of stopping the program. Include it in one file a program.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
#endif
