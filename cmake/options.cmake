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
target_compile_options(kelvo_shared_object INTERFACE -fvisibility=hidden
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions;-fno-rtti;-fno-threadsafe-statics;-fvisibility-inlines-hidden>)
target_link_options(kelvo_shared_object INTERFACE LINKER:--as-needed)
if(NOT KELVO_SANITIZE)
  # A sanitizer's own symbols come with the program, not with the shared object.
  target_link_options(kelvo_shared_object INTERFACE LINKER:-z,defs)
endif()
if(NOT KELVO_SANITIZE AND NOT KELVO_COVERAGE)
  # Nothing runs when they are loaded or unloaded, so the compiler's start files have nothing to do. They
  # would also take the mark of control-flow protection away: libc's are built without it.
  target_link_options(kelvo_shared_object INTERFACE -nostartfiles)
endif()

# They are hardened, whoever builds them; tests/checks/hardening.py looks at the outcome.
target_compile_options(kelvo_shared_object INTERFACE -fstack-protector-strong -fstack-clash-protection)
target_link_options(kelvo_shared_object INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
# All functions are bound when the object is loaded, so calls need not go through the linkage table.
target_compile_options(kelvo_shared_object INTERFACE -fno-plt)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64|AMD64")
  target_compile_options(kelvo_shared_object INTERFACE -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  target_compile_options(kelvo_shared_object INTERFACE -mbranch-protection=standard)
endif()
# Fortified functions need the optimiser; a sanitizer sees more without them.
if(NOT KELVO_SANITIZE)
  target_compile_options(kelvo_shared_object INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
endif()

# The same sources give the same bytes in whatever folder they are built; tests/checks/reproducible.sh
# compares two. A debugger that looks for sources should be started in this one.
target_compile_options(kelvo_shared_object INTERFACE
  $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build;-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)

# Counters that lie in a mapped file as they grow, so that a process that aborts or is left by _exit()
# counts too.
add_library(kelvo_coverage INTERFACE)
target_compile_options(kelvo_coverage INTERFACE
  -fprofile-instr-generate -fcoverage-mapping
  -fprofile-update=atomic "SHELL:-mllvm -runtime-counter-relocation")
target_link_options(kelvo_coverage INTERFACE -fprofile-instr-generate)
if(KELVO_COVERAGE)
  target_link_libraries(kelvo_shared_object INTERFACE kelvo_coverage)
endif()
