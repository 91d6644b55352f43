# Language, warnings, sanitizers and hardening of everything that is built here.
include(CheckCXXCompilerFlag)

set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
# Assertions stay in every build.
string(REPLACE "-DNDEBUG" "" CMAKE_C_FLAGS_RELEASE "${CMAKE_C_FLAGS_RELEASE}")
string(REPLACE "-DNDEBUG" "" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# g++ 12 warns of overlaps inside std::string that are not there.
add_compile_options($<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)
# C code through which exceptions pass needs its unwind tables.
add_compile_options($<$<COMPILE_LANGUAGE:C>:-fexceptions>)
if(3PRAMO_AVISOS_SAO_ERROS)
    add_compile_options(-Werror)
endif()

if(3PRAMO_SANITIZA)
    # The check of virtual tables opens a pipe to probe memory: it fails where a test leaves no descriptors.
    add_compile_options(
        -fsanitize=${3PRAMO_SANITIZA} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer -O1)
    add_link_options(-fsanitize=${3PRAMO_SANITIZA})
    # With sanitizers g++ 12 warns of uninitialised members inside the standard library that are initialised.
    add_compile_options($<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-maybe-uninitialized>)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
else()
    add_compile_options(-fstack-protector-strong "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
    check_cxx_compiler_flag(-fcf-protection=full TEM_CF_PROTECTION)
    if(TEM_CF_PROTECTION)
        add_compile_options(-fcf-protection=full)
    endif()
endif()
