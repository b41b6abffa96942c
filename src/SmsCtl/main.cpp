// smsctl: the command line.

#include "CommandLine.h"

int main(int argc, char** argv) { return smsctl::Run(argc, argv); }
