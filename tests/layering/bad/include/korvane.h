/* SPDX-License-Identifier: Apache-2.0 */
#include <rpc_port.h>
#include <stdbool.h>
