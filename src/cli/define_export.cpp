#include <memory>

#include "cli/definitions.h"

namespace ctfmeg::cli {

void addExport(Definitions& definitions) {
  const auto options = std::make_shared<ExportOptions>();
  auto* command =
      definitions.add("export", "Write samples as NumPy arrays",
                      "  ctfmeg export run.ds -o run.npy                    trials x channels x samples\n"
                      "  ctfmeg export run.ds --samples 0:599 -o start.npy  a part of each trial\n"
                      "  ctfmeg export run.ds --marker tone -o tone.npy     the trials with an event\n"
                      "  ctfmeg export run.ds --physical --channels meg -o - | python3 analyse.py\n"
                      "  ctfmeg export a.ds b.ds --output-dir arrays         a file for each\n",
                      [options] {
                        if (const std::string problem = problemOf(*options); !problem.empty())
                          throw UsageError(problem);
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
  command->add_flag("--physical", options->physical,
                    "in tesla, volt, seconds and metres (float64), not raw (int32)");
  command
      ->add_option_function<std::string>(
          "--compensation",
          [options](const std::string& order) {
            options->compensation = order[0] - '0';
            options->samples.asked.emplace_back("compensation", order);
          },
          "MEG channels in this gradient order, whatever they are stored in (implies --physical)")
      ->check(oneOf({"0", "1", "2", "3"}))
      ->type_name("0|1|2|3");
  command
      ->add_option_function<std::string>(
          "--dtype", [options](const std::string& name) { options->type = *valueTypeOf(name); },
          "type of the values")
      ->check(oneOf({"int32", "float32", "float64"}))
      ->type_name("int32|float32|float64");
  addThreads(command, options->threads);
  addSelection(command, options->samples);
  addMemory(command);
  addReading(command, options->reading);
}

}  // namespace ctfmeg::cli
