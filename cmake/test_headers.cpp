// SPDX-License-Identifier: Apache-2.0
// The source file of the target with the tests' precompiled headers.
