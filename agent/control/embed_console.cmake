# SPDX-License-Identifier: Apache-2.0
# cmake -D FOLDER=<console> -D OUT=<file.cpp> -P embed_console.cmake
# Makes the files of the web console part of the agent.
set(type_html "text/html; charset=utf-8")
set(type_css "text/css; charset=utf-8")
set(type_js "text/javascript; charset=utf-8")
set(type_svg "image/svg+xml")

file(GLOB files RELATIVE "${FOLDER}" "${FOLDER}/*")
list(SORT files)
set(arrays "")
set(rows "")
set(number 0)
foreach(file IN LISTS files)
    cmake_path(GET file EXTENSION LAST_ONLY extension)
    string(REPLACE "." "" extension "${extension}")
    if(NOT DEFINED type_${extension})
        continue() # what is only for people
    endif()
    set(path "/${file}")
    if(file STREQUAL "index.html")
        set(path "/")
    endif()
    file(READ "${FOLDER}/${file}" bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(APPEND arrays "constexpr unsigned char file_${number}[] = {${bytes}};\n")
    string(APPEND rows "        {\"${path}\", \"${type_${extension}}\", text_of(file_${number})},\n")
    math(EXPR number "${number} + 1")
endforeach()

file(WRITE "${OUT}" "// Made by embed_console.cmake from the files of the web console.
#include \"control/console_files.hpp\"

namespace kv::virtual_agent {

namespace {

template <unsigned long Size>
std::string_view text_of(const unsigned char (&bytes)[Size])
{
    return {reinterpret_cast<const char *>(bytes), Size};
}

${arrays}
} // namespace

const std::vector<ConsoleFile> &console_files()
{
    static const std::vector<ConsoleFile> files = {
${rows}    };
    return files;
}

} // namespace kv::virtual_agent
")
