/* SPDX-License-Identifier: Apache-2.0 */
#include <korvane.h>
#include <rpc_port.h>
