# SPDX-License-Identifier: Apache-2.0
# cmake -D FOLDER=<folder> -D FUNCTION=<name> -D OUT=<file.cpp> -P embed_files.cmake
# Writes the function of embedded.hpp that returns the files of a folder and of the folders in it.
file(GLOB_RECURSE files RELATIVE "${FOLDER}" "${FOLDER}/*")
list(FILTER files EXCLUDE REGEX "\\.md$")
list(SORT files)
set(arrays "")
set(rows "")
foreach(file IN LISTS files)
    file(READ "${FOLDER}/${file}" bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(MAKE_C_IDENTIFIER "file_${file}" array)
    string(APPEND arrays "constexpr unsigned char ${array}[] = {${bytes}};\n")
    string(APPEND rows "        {\"${file}\", text_of(${array})},\n")
endforeach()

file(WRITE "${OUT}" "// Made by embed_files.cmake.
#include \"agent/embedded.hpp\"

namespace kv::virtual_agent {

namespace {

template <unsigned long Size>
std::string_view text_of(const unsigned char (&bytes)[Size])
{
    return {reinterpret_cast<const char *>(bytes), Size};
}

${arrays}
} // namespace

const std::vector<EmbeddedFile> &${FUNCTION}()
{
    static const std::vector<EmbeddedFile> files = {
${rows}    };
    return files;
}

} // namespace kv::virtual_agent
")
