# How everything in this tree is compiled. Targets take these by linking to kelvo_options.

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

add_library(kelvo_options INTERFACE)
target_compile_options(kelvo_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
target_compile_definitions(kelvo_options INTERFACE _GNU_SOURCE)
if(KELVO_SANITIZE)
  target_compile_options(kelvo_options INTERFACE
    -fsanitize=${KELVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(kelvo_options INTERFACE -fsanitize=${KELVO_SANITIZE})
  # Instrumented code of the standard library's headers makes gcc see uninitialised values there.
  target_compile_options(kelvo_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# Shared objects that are loaded into other people's processes: C++ inside, but without exceptions,
# run-time type information or the C++ run-time library. They are linked as C; what the build system
# adds for C++ all the same is left out as long as nothing needs it, which a test checks.
add_library(kelvo_shared_object INTERFACE)
target_link_libraries(kelvo_shared_object INTERFACE kelvo_options)
target_compile_options(kelvo_shared_object INTERFACE
  -fvisibility=hidden -fstack-protector-strong
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions;-fno-rtti;-fno-threadsafe-statics;-fvisibility-inlines-hidden>)
target_link_options(kelvo_shared_object INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack LINKER:--as-needed)
# A sanitizer's own symbols come with the program, not with the shared object.
if(NOT KELVO_SANITIZE)
  target_link_options(kelvo_shared_object INTERFACE LINKER:-z,defs)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64|AMD64")
  target_compile_options(kelvo_shared_object INTERFACE -fcf-protection=full)
endif()
