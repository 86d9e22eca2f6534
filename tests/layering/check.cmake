# SPDX-License-Identifier: Apache-2.0
# cmake -D ROOT=<tree> -P check.cmake
# Fails, naming every place, when a layer includes what it may not.

cmake_minimum_required(VERSION 3.25)

# What each layer may include of the tree besides its own folder: paths from the root, as regular expressions.
set(layers include bindings/cpp platform/include platform/host common src/kv_master src/korvane_master_proxy src/korvane src/korvane_util agent testing
    tools examples)
set(may_use_include "")
set(may_use_bindings/cpp include/)
set(may_use_platform/include "")
set(may_use_platform/host platform/include/)
set(may_use_common platform/include/ include/)
set(may_use_src/kv_master common/ platform/include/)
set(may_use_src/korvane_master_proxy src/kv_master/ common/ platform/include/)
set(may_use_src/korvane src/korvane_master_proxy/ src/kv_master/ common/ platform/include/ include/)
set(may_use_src/korvane_util common/ platform/include/ include/)
# The other side of the wire shares the description of the interface and its codecs, nothing else of the library.
set(may_use_agent src/kv_master/ common/ platform/include/)
# A reference page shows what the agent's tables hold.
set(may_use_tools src/kv_master/ common/ platform/include/ include/ "agent/control/commands/commands\\.hpp"
    "agent/scenario/(personalities|reading/checks|reading/functions)\\.hpp" "agent/interface/(events|methods)\\.hpp" "agent/(device/snapshot_members|json/json)\\.hpp")
set(may_use_testing include/)
# A kit checks what is not of this tree, so it uses the boundary only, and for agents the description of their interface.
list(APPEND layers kits/common kits/platform kits/agent)
set(may_use_kits/common "")
set(may_use_kits/platform platform/include/ kits/common/)
set(may_use_kits/agent src/kv_master/ common/ platform/include/ kits/common/)
# The folders of the agent may include the groups before their own: agent/README.md.
set(agent_groups "loop files json" interface journal device server "phone cloud" requests installation control/commands
    "scenario control")
set(below src/kv_master/ common/ platform/include/)
foreach(group IN LISTS agent_groups)
    separate_arguments(folders UNIX_COMMAND "${group}")
    foreach(folder IN LISTS folders)
        list(APPEND layers agent/${folder})
        set(may_use_agent/${folder} ${below} "agent/embedded\\.hpp")
    endforeach()
    list(TRANSFORM folders REPLACE "(.+)" "agent/\\1/" OUTPUT_VARIABLE folders)
    list(APPEND below ${folders})
endforeach()
# An application sees the public headers and nothing more. The templates are applications.
list(APPEND layers tools/ctl/init/templates)
set(may_use_examples include/ bindings/cpp/include/)
set(may_use_tools/ctl/init/templates include/ bindings/cpp/include/)

# A test may include any part of the tree and the shared helpers, but nothing of the tests in another folder.
file(GLOB test_folders RELATIVE "${ROOT}" "${ROOT}/tests/*")
list(REMOVE_ITEM test_folders tests/layering) # its trees of examples are wrong on purpose
foreach(folder IN LISTS test_folders)
    list(APPEND layers ${folder})
    set(may_use_${folder} common/ src/ platform/ agent/ testing/ tools/ kits/ bindings/ include/ tests/support/)
endforeach()
# The matrices and the tests of the C++ API use fixtures of the conformance tests, and the tests of the header use the table
# of the matrices.
list(APPEND may_use_tests/matrix tests/conformance/)
list(APPEND may_use_tests/bindings tests/conformance/)
list(APPEND may_use_tests/header tests/conformance/ tests/matrix/)

# The fuzz targets play with the process of the matrices: a library over a fake platform that can begin anew.
list(APPEND may_use_tests/fuzz tests/matrix/)

# The reliability run uses the application of the end-to-end tests.
list(APPEND may_use_tests/sturdy tests/e2e/)

# An include names a header of its own folder, or the path from the root or from tests/, or a public header.
set(search . tests platform/include include bindings/cpp/include)

set(breaches 0)
set(files_read 0)

# Sets found to the included file's path from the root; empty for what does not belong to the tree.
function(find_included name own_folder layer)
    foreach(folder IN ITEMS ${own_folder} LISTS search)
        if(EXISTS "${ROOT}/${folder}/${name}")
            cmake_path(SET path NORMALIZE "${folder}/${name}")
            set(found "${path}" PARENT_SCOPE)
            return()
        endif()
    endforeach()
    set(found "" PARENT_SCOPE)
endfunction()

function(may_include layer path)
    foreach(pattern IN ITEMS "${layer}/" LISTS may_use_${layer})
        if(path MATCHES "^${pattern}")
            set(allowed TRUE PARENT_SCOPE)
            return()
        endif()
    endforeach()
    set(allowed FALSE PARENT_SCOPE)
endfunction()

foreach(layer IN LISTS layers)
    file(GLOB_RECURSE files RELATIVE "${ROOT}" "${ROOT}/${layer}/*.[ch]" "${ROOT}/${layer}/*.[ch]pp")
    if(layer STREQUAL tools)
        list(FILTER files EXCLUDE REGEX "^tools/ctl/init/templates/")
    endif()
    foreach(file IN LISTS files)
        math(EXPR files_read "${files_read} + 1")
        cmake_path(GET file PARENT_PATH own_folder)
        file(STRINGS "${ROOT}/${file}" lines REGEX "^[ \t]*#[ \t]*include")
        foreach(line IN LISTS lines)
            if(NOT line MATCHES "include[ \t]*([\"<])([^\">]+)[\">]")
                message(SEND_ERROR "${file}: cannot read: ${line}")
                continue()
            endif()
            set(quote "${CMAKE_MATCH_1}")
            set(name "${CMAKE_MATCH_2}")
            find_included("${name}" "${own_folder}" "${layer}")
            if(found)
                may_include("${layer}" "${found}")
            elseif(name MATCHES "^[a-z_]+\\.inc$")
                set(allowed TRUE) # the build writes these
            else()
                # A quoted name that leads nowhere cannot be judged; one in angle brackets is the system's.
                string(COMPARE EQUAL "${quote}" "<" allowed)
            endif()
            if(NOT allowed)
                math(EXPR breaches "${breaches} + 1")
                message(STATUS "${file}: ${layer}/ may not include '${name}'")
            endif()
        endforeach()
    endforeach()
endforeach()

if(files_read EQUAL 0)
    message(FATAL_ERROR "no source file below '${ROOT}'")
endif()
if(breaches GREATER 0)
    message(FATAL_ERROR "${breaches} includes reach into a layer that is not theirs")
endif()
message(STATUS "${files_read} files, every include within its layer's bounds")
