# SPDX-License-Identifier: Apache-2.0
# The build generates the module from the C headers.
from typing import Dict

# Why a function returns a result code, by the code's name.
CAUSES: Dict[str, str]
