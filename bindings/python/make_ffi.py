# SPDX-License-Identifier: Apache-2.0
"""Write the module korvane._ffi from the C headers: make_ffi.py KORVANE_H KORVANE_TEST_H OUTPUT

cffi parses the declarations here, at build time, so that a device needs no parser and no compiler.
"""

import re
import sys
from pathlib import Path

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


def main() -> None:
    header, test_header, output = map(Path, sys.argv[1:])
    builder = cffi.FFI()
    builder.cdef(declarations(header))
    builder.cdef(declarations(test_header))
    builder.cdef(OTHERS)
    builder.set_source("korvane._ffi", None)
    builder.emit_python_code(str(output))


if __name__ == "__main__":
    main()
