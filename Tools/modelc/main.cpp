#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "CoreData/Migration/Mapping/Compiled/CompiledMapping.h"
#include "CoreData/Migration/Mapping/Compiler/MappingCompiler.h"
#include "CoreData/Migration/Mapping/MappingSource.h"
#include "CoreData/Model/Compiled/ModelFiles.h"
#include "CoreData/Model/Compiler/ModelCompiler.h"
#include "CoreData/Model/VersionHashes.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"
#include "Foundation/Values/URL.h"

namespace {

constexpr int kRefused = 1;
constexpr int kUsage = 2;

struct CompileOptions {
  std::vector<std::string> sources;
  std::vector<std::string> outputs;
  std::string current;
};

struct MapOptions {
  std::string source;
  std::vector<std::string> models;
  std::string output;
};

bool isDirectoryOutput(const std::string& output) {
  return std::filesystem::path(output).extension() == ".momd";
}

/// Asks for what the parser cannot: which options go together.
void checkOptions(const CompileOptions& options) {
  for (const auto& output : options.outputs) {
    if (isDirectoryOutput(output)) {
      if (options.current.empty()) throw CLI::RequiredError("--current with a .momd output");
    } else if (options.sources.size() != 1) {
      throw CLI::ValidationError("--output", "only a .momd output takes more than one source");
    }
  }
}

void compile(const CompileOptions& options) {
  for (const auto& output : options.outputs) {
    if (isDirectoryOutput(output)) {
      coredata::compileModelDirectory(options.sources, output, options.current);
    } else {
      coredata::writeCompiledModel(coredata::compileModelSource(options.sources.front()), output);
    }
  }
}

void map(const MapOptions& options) {
  const auto mapping = coredata::compileMappingSource(options.source, options.models);
  coredata::writeCompiledMapping(mapping, options.output);
}

coredata::CompiledModel read(const std::string& path) {
  const auto extension = std::filesystem::path(path).extension();
  if (extension == ".json") return coredata::compileModelSource(path);
  return coredata::readCompiledModel(foundation::URL::fileURL(path));
}

std::string sourceText(const std::string& path) {
  if (std::filesystem::path(path).extension() != ".cdm") return read(path).source.text();
  return sourceOf(coredata::readCompiledMapping(foundation::URL::fileURL(path))).text();
}

void dump(const std::string& path) {
  auto text = sourceText(path);
  text.pop_back();  // Printing adds the newline that the text ends with.
  foundation::print(text);
}

void printHashes(const std::string& path) {
  const auto model = read(path);
  for (std::size_t i = 0; i < model.source.entities.size(); ++i) {
    foundation::print(coredata::hexadecimal(model.hashes.entities[i]) + "  " +
                      model.source.entities[i].name);
  }
  foundation::print(coredata::hexadecimal(model.hashes.fingerprint) + "  (all)");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Compiles the readable sources of models and of the mappings between them, and shows what "
      "compiled ones hold.");
  app.require_subcommand(1);

  CompileOptions options;
  auto* compileCommand = app.add_subcommand("compile", "Check sources and write compiled models");
  compileCommand->add_option("source", options.sources, "The sources, one a version")->required();
  compileCommand
      ->add_option("--output", options.outputs,
                   "A .momd directory for all versions, or a .mom or .omo file for one")
      ->required()
      ->allow_extra_args(false);
  compileCommand->add_option("--current", options.current,
                             "The version that a .momd directory stands for");
  compileCommand->final_callback([&] { checkOptions(options); });

  MapOptions mapOptions;
  auto* mapCommand = app.add_subcommand("map", "Check a mapping and write it compiled");
  mapCommand->add_option("source", mapOptions.source, "The source of the mapping")->required();
  mapCommand
      ->add_option("--models", mapOptions.models,
                   "The sources of both versions, or directories that hold them")
      ->required();
  mapCommand->add_option("--output", mapOptions.output, "A .cdm file")->required();

  std::string file;
  auto* dumpCommand = app.add_subcommand("dump", "Print a compiled model or mapping as a source");
  dumpCommand->add_option("file", file, "A .mom, .omo, .momd, .cdm or .json file")->required();
  auto* hashesCommand = app.add_subcommand("hashes", "Print the version hashes of a model");
  hashesCommand->add_option("file", file, "A .mom, .omo, .momd or .json file")->required();

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kUsage;
  }
  try {
    if (*compileCommand) compile(options);
    if (*mapCommand) map(mapOptions);
    if (*dumpCommand) dump(file);
    if (*hashesCommand) printHashes(file);
    return 0;
  } catch (const foundation::Error& error) {
    std::fprintf(stderr, "modelc: %s\n", error.message().c_str());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "modelc: %s\n", error.what());
  }
  return kRefused;
}
