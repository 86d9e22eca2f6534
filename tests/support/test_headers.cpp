// SPDX-License-Identifier: Apache-2.0
// Stands for the headers that all tests share; see kv_precompile.
