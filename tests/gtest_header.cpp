// SPDX-License-Identifier: LGPL-2.1-or-later
// Does nothing: its target carries the precompiled header of the test programs.
int main() {}
