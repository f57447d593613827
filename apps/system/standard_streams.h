// Standard input, output and error; one source file for each system.
#pragma once

#include <cstddef>

/// Has std::cin, std::cout and std::cerr carry UTF-8: from and to pipes and files byte by byte, at a terminal whatever
/// it is set to. One that was closed when the process started can't be read or written, and no file that is opened
/// later takes its place. A write to a closed pipe fails with EPIPE in errno and does not end the process. Called once,
/// first thing in main.
void setUpStandardStreams();

/// Whether a person types the standard input.
bool isInputTerminal();

/// Whether the standard input is a file or a pipe, which somebody has given this process to read to its end. A
/// terminal, a device such as the null device and a closed one are not, and neither is a socket: that is what a process
/// on another machine is often started with, and nobody may ever write to it, or end it.
bool isInputGiven();

/// Whether a person reads the standard output.
bool isOutputTerminal();

/// Whether a person reads the standard error, at a terminal where a line can be written over.
bool isErrorScreen();
/// Whether a person reads the standard error.
bool isErrorTerminal();

/// The columns of the terminal that the standard output goes to; 0 where it is none, or tells none.
std::size_t obtainOutputWidth();
/// The same of the standard error.
std::size_t obtainErrorWidth();

/// What a person types to end the input, in words.
const char* obtainEndOfInputKeys();
