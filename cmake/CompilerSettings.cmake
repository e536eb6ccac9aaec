# Settings for everything in the tree, and for our own code alone (ld_warnings).

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(LD_CCACHE ccache)
if(LD_CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER "${LD_CCACHE}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${LD_CCACHE}")
endif()

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    # The same sums on every machine: a product and a sum are fused only where the code asks for it.
    add_compile_options(-ffp-contract=off)
    set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")
    set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g")
    if(UNIX AND NOT APPLE)
        add_link_options(-Wl,--as-needed)
    endif()
endif()

if(LD_SANITIZE)
    add_compile_options(-fsanitize=${LD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${LD_SANITIZE})
    add_compile_definitions(LD_SANITIZED=1)
endif()

# Linked by every target of ours and by none of the framework's.
add_library(ld_warnings INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(ld_warnings INTERFACE
        -Wall -Wextra -Werror -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
        -Wcast-align -Wunused -Wimplicit-fallthrough)
elseif(MSVC)
    target_compile_options(ld_warnings INTERFACE /W4 /WX)
endif()
