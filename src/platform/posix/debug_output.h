#pragma once

// An exported, empty function that every trace line passes when no viewer runs. A debugger can
// break on it, `bpftrace` can probe it, and a program can define it itself to see every line.
extern "C" void zelq_debug_output(const char* line);
