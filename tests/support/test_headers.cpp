// SPDX-License-Identifier: GPL-3.0-or-later
// The precompiled headers of the tests belong to a library, and a library has a source.
