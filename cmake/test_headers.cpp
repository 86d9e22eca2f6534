// SPDX-License-Identifier: Apache-2.0
// Owns what all tests have compiled in advance.
