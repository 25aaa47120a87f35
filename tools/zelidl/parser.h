// Reads IDL files into a Model: one Frontend per compilation, loading the
// root file and, through #include, every file it needs (each once).
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "model.h"

namespace zelidl {

// Returns the contents of the file at `path`, or nothing when it cannot be
// read. The default reads the file system; tests give files from memory.
using FileReader = std::function<std::optional<std::string>(const std::string &path)>;

std::optional<std::string> readFileFromDisk(const std::string &path);

class Frontend {
public:
    Frontend(std::vector<std::string> includeDirs, FileReader reader = readFileFromDisk);

    // Parses `path` and what it includes. Throws CompileError on the first
    // fault found.
    const SourceFile &load(const std::string &path);

    // See Model::renameModule; call before load().
    void renameModule(const std::string &from, const std::string &to) { model_.renameModule(from, to); }

    const Model &model() const { return model_; }
    // Every file read, in the order they were opened (for dependency lists).
    const std::vector<std::string> &loadedPaths() const { return loadedPaths_; }

private:
    const SourceFile &parse(const std::string &path, const std::string &source);
    const SourceFile &include(const std::string &name, const std::string &includingPath,
                              const SourceLocation &location);

    std::vector<std::string> includeDirs_;
    FileReader reader_;
    Model model_;
    std::map<std::string, const SourceFile *> loaded_;  // by normalized absolute path
    std::vector<std::string> inProgress_;               // normalized paths of files being parsed
    std::vector<std::string> loadedPaths_;
};

}  // namespace zelidl
