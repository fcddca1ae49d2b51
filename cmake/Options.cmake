# The compiler's options for every target of this project.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(project_options INTERFACE)
target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_definitions(project_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS _FILE_OFFSET_BITS=64)
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-align -Wcast-qual
    -Wformat=2 -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference
    # The log names files without the directory they were built in, and so does the executable.
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

# Every compiler and every level of optimisation has warnings of its own: they are errors in this project's presets,
# which its checks use, and not for those who only build it.
option(VRMOUNTDRIVES_WARNINGS_ARE_ERRORS "Let no warning of the compiler pass" OFF)
if(VRMOUNTDRIVES_WARNINGS_ARE_ERRORS)
    target_compile_options(project_options INTERFACE -Werror)
endif()

set(VRMOUNTDRIVES_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")
if(VRMOUNTDRIVES_SANITIZE)
    add_compile_options(-fsanitize=${VRMOUNTDRIVES_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VRMOUNTDRIVES_SANITIZE})
endif()

option(VRMOUNTDRIVES_COVERAGE "Build with coverage counters" OFF)
if(VRMOUNTDRIVES_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
