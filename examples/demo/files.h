// Files and their names, as the command line gives them.
#ifndef DEMO_FILES_H
#define DEMO_FILES_H

#include <string>

// The whole content of a file. Throws a std::runtime_error that says why it can't be read.
std::string ReadFile(const std::string& path);

// A name in wide text, from narrow text in the process's locale. Throws a std::runtime_error if it
// is not valid there.
std::u16string Widen(const std::string& name);

#endif
