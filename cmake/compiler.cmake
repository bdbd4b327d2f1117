# What every target of this project is compiled with.
add_library(indexuser_compiler INTERFACE)
target_compile_definitions(indexuser_compiler INTERFACE QT_NO_KEYWORDS BOOST_ALL_NO_LIB)

if(INDEXUSER_DEVELOPER)
    target_compile_options(indexuser_compiler INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual
        -Wold-style-cast -Werror
        # GCC 12 takes the empty buffer of a boost::function for an uninitialised read under -O2.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-error=uninitialized>)
    # What Qt's tools generate is not ours to check; one check has to stay.
    file(WRITE ${PROJECT_BINARY_DIR}/.clang-tidy "Checks: '-*,cppcoreguidelines-avoid-goto'\n")
endif()

if(INDEXUSER_SANITIZE)
    add_compile_options(-fsanitize=${INDEXUSER_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${INDEXUSER_SANITIZE})
endif()
