# SPDX-License-Identifier: Apache-2.0
# The build generates the module from the C headers.
from typing import Any

ffi: Any
