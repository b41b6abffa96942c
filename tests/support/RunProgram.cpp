#include "RunProgram.h"

#include <sys/wait.h>
#include <unistd.h>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

[[noreturn]] void BecomeProgram(const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
                                const std::string& folder) {
  for (const std::string& variable : environment) {
    putenv(const_cast<char*>(variable.c_str()));
  }
  const bool redirected = std::freopen((folder + "/in").c_str(), "r", stdin) != nullptr &&
                          std::freopen((folder + "/out").c_str(), "w", stdout) != nullptr &&
                          std::freopen((folder + "/err").c_str(), "w", stderr) != nullptr;
  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  if (redirected) {
    execv(argv[0], argv.data());
  }
  _exit(127);
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
                         const std::string& input) {
  std::string folder = (std::filesystem::temp_directory_path() / "sms-run-XXXXXX").string();
  ProgramResult result;
  if (mkdtemp(folder.data()) == nullptr) {
    return result;
  }
  std::ofstream(folder + "/in", std::ios::binary) << input;
  const pid_t child = fork();
  if (child == 0) {
    BecomeProgram(arguments, environment, folder);
  }
  int status = 0;
  waitpid(child, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = ReadAll(folder + "/out");
  result.err = ReadAll(folder + "/err");
  std::filesystem::remove_all(folder);
  return result;
}

std::string BuiltProgram(const std::string& name) {
  char path[PATH_MAX] = {};
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
  return (std::filesystem::path(std::string(path, length > 0 ? static_cast<std::size_t>(length) : 0)).parent_path() /
          name)
      .string();
}
