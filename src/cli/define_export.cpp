#include <memory>

#include "cli/definitions.h"

namespace ctfmeg::cli {
namespace {

/// A command that writes arrays; `options` say what of.
void addArrays(Definitions& definitions, const std::shared_ptr<ExportOptions>& options, const char* name,
               const char* summary, const char* examples) {
  auto* command = definitions.add(name, summary, examples, [options] {
    if (const std::string problem = problemOf(*options); !problem.empty()) throw UsageError(problem);
    return runExport(*options);
  });
  addDatasets(command, options->datasets);
  auto* output =
      command->add_option("-o,--output", options->output, "file to write (.npy); - for standard output")
          ->type_name("FILE");
  auto* directory = command
                        ->add_option("--output-dir", options->outputDirectory,
                                     "folder to write a file into for each dataset, named after it")
                        ->excludes(output)
                        ->type_name("DIR");
  addCount(command, "--jobs", options->jobs, "datasets at once")->needs(directory);
  command
      ->add_flag("--skip-existing", options->skipExisting, "leave out datasets whose file is there already")
      ->needs(directory);
  command->add_flag_callback(
      "--no-description", [options] { options->description = false; },
      "write no FILE.json, which says what the array is");
  if (!options->average)
    command->add_flag("--physical", options->physical,
                      "in tesla, volt, seconds and metres (float64), not raw (int32)");
  command
      ->add_option_function<std::string>(
          "--dtype", [options](const std::string& type) { options->type = *valueTypeOf(type); },
          "type of the values")
      ->check(oneOf({"int32", "float32", "float64"}))
      ->type_name("int32|float32|float64");
  addThreads(command, options->threads);
  if (options->average)
    addEpochSelection(command, options->samples);
  else
    addSelection(command, options->samples);
  addProcessing(command, options->samples);
  addRejection(command, options->samples);
  addMemory(command);
  addReading(command, options->reading);
  if (options->average) command->get_option("--around")->required();
}

}  // namespace

void addExport(Definitions& definitions) {
  addArrays(definitions, std::make_shared<ExportOptions>(), "export", "Write samples as NumPy arrays",
            "  ctfmeg export run.ds -o run.npy                    trials x channels x samples\n"
            "  ctfmeg export run.ds --samples 0:599 -o start.npy  a part of each trial\n"
            "  ctfmeg export run.ds --marker tone -o tone.npy     the trials with an event\n"
            "  ctfmeg export run.ds --around tone --from -0.1 --to 0.4 -o tone.npy  epochs\n"
            "  ctfmeg export run.ds --physical --channels meg -o - | python3 analyse.py\n"
            "  ctfmeg export a.ds b.ds --output-dir arrays         a file for each\n");
  const auto average = std::make_shared<ExportOptions>();
  average->average = true;
  addArrays(definitions, average, "average",
            "Write the average of epochs and its standard error, as a NumPy array",
            "  ctfmeg average run.ds --around tone --from -0.1 --to 0.4 --baseline -0.1:0 -o tone.npy\n"
            "  ctfmeg average run.ds --around tone --from 0 --to 0.4 --reject meg=4e-12 -o tone.npy\n");
}

}  // namespace ctfmeg::cli
