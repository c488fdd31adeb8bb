# For another machine, ECLIPSE_INT_TRIPLET, and its name in qemu, ECLIPSE_INT_MACHINE: Debian's cross compiler, and qemu to run what
# it makes. Both come from the preset, also into the small projects with which CMake tries the compiler.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ECLIPSE_INT_TRIPLET ECLIPSE_INT_MACHINE)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${ECLIPSE_INT_MACHINE})
set(CMAKE_C_COMPILER ${ECLIPSE_INT_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${ECLIPSE_INT_TRIPLET}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${ECLIPSE_INT_MACHINE};-L;/usr/${ECLIPSE_INT_TRIPLET})

# Headers that are the same for every machine, without the rest of /usr/include.
set(headers ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers}/include)
file(CREATE_LINK /usr/include/nlohmann ${headers}/include/nlohmann SYMBOLIC)
file(COPY /usr/share/cmake/nlohmann_json DESTINATION ${headers}/share/cmake)

set(CMAKE_FIND_ROOT_PATH /usr/${ECLIPSE_INT_TRIPLET} ${headers})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
