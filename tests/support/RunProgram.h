// Runs a program to its end and keeps what it said.
#pragma once

#include <string>
#include <vector>

struct ProgramResult {
  int status = -1;  // exit status; 128 + number for a signal
  std::string out;
  std::string err;
};

/// @param arguments    the program's path first.
/// @param environment  "NAME=value" added to this process's environment.
/// @param input        given on standard input.
ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {},
                         const std::string& input = std::string());

/// A program of the build folder: "smsctl", "modem-sim", "sms-host".
std::string BuiltProgram(const std::string& name);
