# 32-bit Linux (g++ -m32, from g++-multilib): the widths of the 32-bit plug-in
# on a machine that can run it, for `make test-32`. It builds GoogleTest from
# its sources with the same flags, and the libraries through third_party/.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_EXE_LINKER_FLAGS_INIT -m32)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -m32)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -m32)
set(CRATEWERK_THIRD_PARTY_TARGET i686-linux-gnu)
set(CRATEWERK_GTEST_FROM_SOURCE ON)
