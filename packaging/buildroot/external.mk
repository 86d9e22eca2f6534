# SPDX-License-Identifier: Apache-2.0
include $(sort $(wildcard $(BR2_EXTERNAL_KORVANE_PATH)/package/*/*.mk))
