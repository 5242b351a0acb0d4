// A host of the original interface without windows: what the reader shows, asks, reports and how far it is
// are lines of text.
//   printing_host FILE_OF_A_DATASET

#include <cstdio>
#include <memory>
#include <new>
#include <vector>

#include <megreader/framework/encoding.h>
#include <megreader/framework/user_interface.h>
#include <megreader/reader/meg_reader_face.h>

namespace {

class PrintedProgress : public ProgressWindow {
 public:
  explicit PrintedProgress(const CString& title) { std::printf("progress: %s\n", toUtf8(title).c_str()); }
  void setRange(int /*low*/, int high) override { m_high = high; }
  void setPosition(int position) override { std::printf("progress: %d of %d\n", position, m_high); }

 private:
  int m_high = 0;
};

class PrintingInterface : public UserInterface {
 public:
  MessageAnswer messageBox(const CString& text, MessageStyle style) override {
    std::printf("message: %s\n", toUtf8(text).c_str());
    return style == MessageStyle::yesNo ? MessageAnswer::no : MessageAnswer::ok;
  }
  std::optional<CString> chooseFile(const CString& /*filter*/, int /*filterIndex*/) override { return {}; }
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override {
    return std::make_unique<PrintedProgress>(title);
  }
  void report(const Finding& finding) override {
    std::printf("finding: %s: %s: %s\n", finding.code.c_str(), toUtf8(finding.file).c_str(),
                toUtf8(finding.text).c_str());
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "printing_host FILE_OF_A_DATASET\n");
    return 2;
  }
  PrintingInterface user;
  installUserInterface(&user);

  CMEGReaderFacezk facade;
  CPtrArray array;
  int done = 0;
  try {
    done = facade.readCTFMEGData2HdPa(fromUtf8(argv[1]), &array, nullptr, nullptr);
  } catch (CException* error) {  // sample files that can't be read, or end before the run does
    error->Delete();
  } catch (const std::bad_alloc&) {
    std::printf("there is not enough memory\n");
  }

  // The host owns what the facade appended, after a failure too.
  std::vector<std::unique_ptr<CMEGDatazk>> datasets;
  for (int i = 0; i < array.GetSize(); ++i)
    datasets.emplace_back(static_cast<CMEGDatazk*>(array.GetAt(i)));
  for (const auto& data : datasets) {
    std::printf("%s: %d trials, %d channels\n", toUtf8(data->name).c_str(), data->numStoredTrials(),
                static_cast<int>(data->channels().size()));
    const std::int32_t* samples = data->trialSamples(0);  // channel after channel
    if (samples != nullptr)
      std::printf("last sample of trial 0: %d\n",
                  samples[data->storedChannels() * data->storedSamples() - 1]);
  }
  return done == 1 ? 0 : 1;
}
