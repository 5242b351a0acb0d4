#include <memory>

#include "cli/definitions.h"

namespace ctfmeg::cli {

void addScan(Definitions& definitions) {
  const auto options = std::make_shared<ScanOptions>();
  auto* command =
      definitions.add("scan", "List every dataset below a directory, from headers",
                      "  ctfmeg scan recordings\n"
                      "  ctfmeg scan --csv recordings > list.csv      for a spreadsheet\n"
                      "  ctfmeg scan --json --no-identity recordings  without what names a person\n",
                      [options] { return runScan(*options); });
  command->add_option("DIRECTORY", options->directories, "where to look, at any depth")
      ->required()
      ->type_name("");
  addForm(command, options->form);
  addNoIdentity(command, options->reading);
  addReading(command, options->reading);
}

void addCheck(Definitions& definitions) {
  const auto options = std::make_shared<CheckOptions>();
  auto* command =
      definitions.add("check", "List what is wrong or odd in datasets, or in all below a directory",
                      "  ctfmeg check run.ds           in plain words\n"
                      "  ctfmeg check recordings       every dataset below a folder\n"
                      "  ctfmeg check --signals run.ds  faulty channels, too\n"
                      "  ctfmeg check --json run.ds    for scripts\n"
                      "  ctfmeg check --host run.ds    what host rules would lose, too\n",
                      [options] { return runCheck(*options); });
  command->add_option("DATASET", options->datasets, "a dataset, or a directory that holds some at any depth")
      ->required()
      ->type_name("");
  command->add_flag("--signals", options->signals,
                    "look at the samples, too: channels that are flat, clipped, jump or are noisy");
  for (CLI::Option* limit : addSignalLimits(command, options->limits))
    limit->needs("--signals");
  command->add_flag("--host", options->host, "what host rules would lose, too (reads all samples)");
  command->add_flag("--json", options->json, "as JSON");
  addNoIdentity(command, options->reading);
  addMemory(command);
  addReading(command, options->reading);
}

void addSimulate(Definitions& definitions) {
  const auto options = std::make_shared<SimulateOptions>();
  auto* command =
      definitions.add("simulate", "Write a simulated dataset",
                      "  ctfmeg simulate test.ds                           a dataset to try things on\n"
                      "  ctfmeg simulate test.ds --trials 10 --rate 1200\n"
                      "  ctfmeg simulate other.ds --seed 2                 other noise\n"
                      "  ctfmeg simulate run.ds --trials 8 --continuous --gap 2:1.5    a run with a pause\n"
                      "  ctfmeg simulate bad.ds --bad flat:2,jump                      and which they are\n"
                      "  ctfmeg simulate broken.ds --damage cut-markers                to see what is said\n"
                      "  ctfmeg simulate noise.ds --common-noise                       to be compensated\n",
                      [options] { return runSimulate(*options); });
  simulate::Options& dataset = options->dataset;
  command->add_option("OUT.ds", options->directory, "directory to make; must not exist")
      ->required()
      ->type_name("");
  command->add_option("--channels", dataset.channels, "channels in all")->capture_default_str();
  command->add_option("--trials", dataset.trials, "trials")->capture_default_str();
  command->add_option("--samples", dataset.samples, "samples a trial")->capture_default_str();
  command->add_option("--rate", dataset.rate, "samples a second")->type_name("HZ")->capture_default_str();
  command->add_option("--pretrigger", dataset.preTrigger, "samples before the trigger")
      ->capture_default_str();
  command->add_flag("--continuous", dataset.continuous,
                    "one run: what a tone evokes goes on into the next trial");
  command
      ->add_option("--gap", options->gaps,
                   "pauses by the clock, each after a trial, counted from 0 (2:1.5,5:10)")
      ->type_name("TRIAL:S,...");
  command->add_flag("--common-noise", options->commonNoise,
                    "noise of distant sources in references and sensors: a field of 200 pT, or of =PT");
  command
      ->add_option("--bad", options->bad,
                   "faults of MEG channels: flat, clipped, jump, noisy, with a number of channels (flat:2); "
                   "prints which channel has which")
      ->type_name("LIST");
  command
      ->add_option("--damage", options->damage,
                   "damage to the files, for practice: names that are listed at the end of simulate --help")
      ->type_name("LIST");
  command->add_option("--seed", dataset.seed, "the same seed gives the same bytes")->capture_default_str();
  command->add_option("--split-after", dataset.splitAfter, "trials in each sample file (0: as many as fit)")
      ->type_name("TRIALS")
      ->capture_default_str();
  command->add_flag("--quiet", options->quiet, "no progress");
  command->footer(command->get_footer() + "\nDamage:\n" + damageList());
}

}  // namespace ctfmeg::cli
