# SPDX-License-Identifier: Apache-2.0
"""Write modules from the C headers: make_ffi.py KORVANE_H KORVANE_RESULTS_H KORVANE_UTIL_H KORVANE_TEST_H DIRECTORY

korvane._ffi has the declarations: cffi parses them here, at build time, so that a device needs no parser and no compiler.
korvane._results has the result codes in words.
"""

import re
import sys
from pathlib import Path
from typing import Dict

import cffi

# The few functions of the C library and of GLib that the package calls.
OTHERS = """
void free(void *pointer);

typedef struct { int fd; unsigned short events; unsigned short revents; } GPollFD;
typedef struct _GMainContext GMainContext;
GMainContext *g_main_context_default(void);
int g_main_context_acquire(GMainContext *context);
void g_main_context_release(GMainContext *context);
int g_main_context_prepare(GMainContext *context, int *priority);
int g_main_context_query(GMainContext *context, int max_priority, int *timeout, GPollFD *fds, int n_fds);
int g_main_context_check(GMainContext *context, int max_priority, GPollFD *fds, int n_fds);
int g_main_context_iteration(GMainContext *context, int may_block);
"""


def declarations(header: Path) -> str:
    """Return the declarations of a C header without comments and preprocessor lines."""
    text = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.DOTALL)
    text = re.sub(r"#ifdef __cplusplus.*?#endif", "", text, flags=re.DOTALL)
    text = re.sub(r"^#.*$", "", text, flags=re.MULTILINE)
    return text.replace("KORVANE_API ", "")


def causes(header: Path) -> Dict[str, str]:
    """Return the causes of KORVANE_RESULTS by the names of the codes."""
    rows = re.findall(r'X\((\w+),\s*\\\n\s*"(.*)",', header.read_text())
    return dict(rows)


def main() -> None:
    header, results_header, util_header, test_header, directory = map(Path, sys.argv[1:])
    builder = cffi.FFI()
    builder.cdef(declarations(header))
    builder.cdef(declarations(util_header))
    builder.cdef(declarations(test_header))
    builder.cdef(OTHERS)
    builder.set_source("korvane._ffi", None)
    builder.emit_python_code(str(directory / "_ffi.py"))
    (directory / "_results.py").write_text(f"CAUSES = {causes(results_header)!r}\n")


if __name__ == "__main__":
    main()
