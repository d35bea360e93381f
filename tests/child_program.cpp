// The child process of the platform tests. "print ARGS..." writes each argument and a '|';
// "copy FILE" copies standard input to FILE; "exit N" exits with status N.
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "print") {
    for (int k = 2; k < argc; ++k) std::cout << argv[k] << '|';
    return 0;
  }
  if (command == "copy" && argc == 3) {
    std::ofstream file(argv[2], std::ios::binary);
    file << std::cin.rdbuf();
    return file ? 0 : 1;
  }
  if (command == "exit" && argc == 3) return std::atoi(argv[2]);
  return 64;
}
