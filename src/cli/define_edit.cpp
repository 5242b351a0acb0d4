#include <limits>
#include <memory>

#include "cli/definitions.h"
#include "cli/selection.h"

namespace ctfmeg::cli {
namespace {

template <class Options>
std::shared_ptr<Options> makeOptions() {
  return std::make_shared<Options>();
}

/// What is read and what is written.
void addPaths(CLI::App* command, EditOptions& options, const char* out, const char* outHelp) {
  command->add_option("IN.ds", options.in, "the dataset to copy, which is not changed")
      ->required()
      ->type_name("");
  command->add_option(out, options.out, outHelp)->required()->type_name("");
}

void addReport(CLI::App* command, EditOptions& options) {
  command->add_flag("--json", options.json, "say as JSON what was changed");
  command->add_flag("--quiet", options.reading.quiet, "no progress, no remarks");
  command->add_flag("--strict", options.reading.strict, "a warning makes the exit code 1");
}

constexpr const char* kNewDataset = "the copy, a new dataset of that name";

void addAnonymising(CLI::App* command, Anonymising& how) {
  auto* shift = command
                    ->add_option_function<int>(
                        "--shift-days",
                        [&how](int days) {
                          how.dates = Dates::shift;
                          how.shiftDays = days;
                        },
                        "move all dates by N days, back with a minus sign (default: no date stays)")
                    ->check(numberFrom(-100000, 100000))
                    ->type_name("N");
  command
      ->add_flag_callback(
          "--keep-dates", [&how] { how.dates = Dates::keep; }, "leave dates of the recording as they are")
      ->excludes(shift);
  command->add_option("--keep", how.keep, "files of the dataset to copy though nothing is known about them")
      ->type_name("FILE...");
  command->add_flag("--keep-names", how.keepNames,
                    "keep names of channels, electrodes, markers and classes whatever they hold");
}

void addRename(Definitions& definitions) {
  const auto options = makeOptions<EditOptions>();
  auto* command = definitions.add("rename", "Copy a dataset under another name",
                                  "  ctfmeg rename run.ds S01_rest.ds   files, and names and paths in them\n",
                                  [options] { return runRename(*options); });
  addPaths(command, *options, "OUT.ds", kNewDataset);
  addReport(command, *options);
}

void addAnonymise(Definitions& definitions) {
  const auto options = makeOptions<AnonymiseOptions>();
  auto* command = definitions.add(
      "anonymise", "Copy a dataset without what can name a person",
      "  ctfmeg anonymise run.ds shared/01.ds --subject 01\n"
      "  ctfmeg anonymise run.ds shared/01.ds --shift-days -1000   dates keep their distances\n"
      "  ctfmeg anonymise run.ds shared/01.ds --json > report.json  what was removed, and what stays\n",
      [options] { return runAnonymise(*options); });
  addPaths(command, *options, "OUT.ds", kNewDataset);
  command->add_option("--subject", options->how.subject, "what stands for the subject's name and number")
      ->type_name("ID");
  addAnonymising(command, options->how);
  addReport(command, *options);
}

void addCrop(Definitions& definitions) {
  const auto options = makeOptions<CropOptions>();
  auto* command = definitions.add(
      "crop", "Copy a part of a dataset",
      "  ctfmeg crop run.ds first.ds --trials 0-9\n"
      "  ctfmeg crop run.ds short.ds --from -0.2 --to 0.5 --channels meg,ref\n"
      "  ctfmeg crop crashed.ds whole.ds      the trials that are there, as a whole dataset\n",
      [options] { return runCrop(*options); });
  addPaths(command, *options, "OUT.ds", kNewDataset);
  addPart(command, options->part);
  addReport(command, *options);
}

/// Numbers between colons, such as "3:0.5:1.25": a trial, and as many times.
std::optional<std::pair<int, std::vector<double>>> parseTrialAndTimes(const std::string& text,
                                                                      std::size_t times) {
  const std::size_t colon = text.find(':');
  const auto trials = parseTrials(text.substr(0, colon));
  std::vector<double> seconds;
  for (std::size_t at = colon; at != std::string::npos;) {
    const std::size_t next = text.find(':', at + 1);
    const auto time = parseSeconds(text.substr(at + 1, next == std::string::npos ? next : next - at - 1));
    if (!time) return std::nullopt;
    seconds.push_back(*time);
    at = next;
  }
  // A number beyond all trials may be none that was given.
  const bool isATrial = trials && trials->size() == 1 && trials->front() < std::numeric_limits<int>::max();
  if (!isATrial || seconds.size() != times) return std::nullopt;
  return std::pair(trials->front(), seconds);
}

std::function<std::string(const std::string&)> trialAndTimes(std::size_t times, const char* must) {
  return [times, must](const std::string& text) {
    return parseTrialAndTimes(text, times) ? "" : mustBe(must, text);
  };
}

void addMark(Definitions& definitions) {
  const auto options = makeOptions<MarkOptions>();
  Marks& marks = options->marks;
  auto* command = definitions.add(
      "mark", "Mark channels, spans and moments in a dataset",
      "  ctfmeg mark run.ds --bad MLC11,MRT22      channels not to be used\n"
      "  ctfmeg mark run.ds --good MLC11           that may be used after all\n"
      "  ctfmeg mark run.ds --bad-segment 3:0.5:1.25\n"
      "  ctfmeg mark run.ds --marker spike --at 0:1.5 --at 2:0.25\n",
      [options] {
        const Marks& given = options->marks;
        if (given.bad.empty() && given.good.empty() && given.badSegments.empty() && given.occurrences.empty())
          throw UsageError(
              "mark needs something to mark: --bad, --good, --bad-segment, or "
              "--marker with --at");
        return runMark(*options);
      });
  command->add_option("DATASET", options->in, kDatasetHelp)->required()->type_name("");
  const auto addList = [&](const char* name, std::vector<std::string>& list, const char* help) {
    command
        ->add_option_function<std::string>(
            name, [&list](const std::string& text) { list = *parseNames(text); }, help)
        ->type_name("LIST");
  };
  addList("--bad", marks.bad, "channels not to be used: names, patterns (MLC*) or kinds, comma-separated");
  addList("--good", marks.good, "channels that may be used again, likewise");
  command
      ->add_option_function<std::vector<std::string>>(
          "--bad-segment",
          [&marks](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) {
              const auto [trial, seconds] = *parseTrialAndTimes(text, 2);
              marks.badSegments.push_back({trial, seconds[0] * 1e3, seconds[1] * 1e3});
            }
          },
          "a span not to be used: a trial, and seconds from its start; may be given again")
      ->check(trialAndTimes(2, "a trial and two times such as 3:0.5:1.25"))
      ->allow_extra_args(false)
      ->type_name("TRIAL:S:S");
  auto* marker = command->add_option("--marker", marks.marker, "the marker that --at adds to; made where new")
                     ->type_name("NAME");
  auto* at = command
                 ->add_option_function<std::vector<std::string>>(
                     "--at",
                     [&marks](const std::vector<std::string>& texts) {
                       for (const std::string& text : texts) {
                         const auto [trial, seconds] = *parseTrialAndTimes(text, 1);
                         marks.occurrences.push_back({trial, seconds[0]});
                       }
                     },
                     "an occurrence of it: a trial, and seconds from its trigger; may be given again")
                 ->check(trialAndTimes(1, "a trial and a time such as 3:0.25"))
                 ->allow_extra_args(false)
                 ->needs(marker)
                 ->type_name("TRIAL:S");
  marker->needs(at);
  addReport(command, *options);
}

void addBids(Definitions& definitions) {
  const auto options = makeOptions<BidsOptions>();
  BidsRecording& recording = options->recording;
  const auto how = std::make_shared<Anonymising>();
  const auto anonymise = std::make_shared<bool>(false);
  auto* command = definitions.add(
      "bids", "Copy a dataset into a study of the BIDS standard",
      "  ctfmeg bids run.ds study --subject 01 --task rest --line-frequency 50\n"
      "  ctfmeg bids run2.ds study --subject 01 --session a --task rest --run 2 --anonymise\n",
      [options, how, anonymise] {
        if (*anonymise) options->recording.anonymise = *how;
        return runBids(*options);
      });
  addPaths(command, *options, "OUT", "the study's folder, which may be there already");
  const auto addLabel = [command](const char* name, std::string& label, const char* help) {
    return command->add_option(name, label, help)->type_name("LABEL");
  };
  addLabel("--subject", recording.subject, "letters and digits, such as 01")->required();
  addLabel("--task", recording.task, "likewise, such as rest")->required();
  addLabel("--session", recording.session, "likewise, where a subject has several sessions");
  command->add_option("--run", recording.run, "where a task was recorded several times")->type_name("N");
  command
      ->add_option_function<std::string>(
          "--line-frequency",
          [&recording](const std::string& text) { recording.lineFrequency = *parseSeconds(text); },
          "of the mains where it was recorded, such as 50")
      ->check([](const std::string& text) {
        const auto number = parseSeconds(text);
        return number && *number > 0.0 ? "" : mustBe("a number above 0", text);
      })
      ->type_name("HZ");
  auto* flag = command->add_flag("--anonymise", *anonymise, "leave out what can name a person");
  addAnonymising(command, *how);
  for (const char* name : {"--shift-days", "--keep-dates", "--keep", "--keep-names"})
    command->get_option(name)->needs(flag);
  addReport(command, *options);
}

}  // namespace

void addEdit(Definitions& definitions) {
  addRename(definitions);
  addAnonymise(definitions);
  addCrop(definitions);
  addMark(definitions);
  addBids(definitions);
}

}  // namespace ctfmeg::cli
