#pragma once

#include <memory>
#include <utility>
#include <vector>

#include <ctfmeg/samples.h>

namespace ctfmeg {

/// Samples that are made of those of another source, one by one: what is not overridden is as it is there.
class WrappedSource : public SampleSource {
 public:
  explicit WrappedSource(std::shared_ptr<const SampleSource> source) : m_source(std::move(source)) {}

  Shape shape() const override { return m_source->shape(); }
  const std::vector<Channel>& channels() const override { return m_source->channels(); }
  double sampleRate() const override { return m_source->sampleRate(); }
  Origin origin(std::int64_t trial) const override { return m_source->origin(trial); }
  std::vector<Piece> pieces(std::int64_t trial) const override { return m_source->pieces(trial); }
  std::vector<Gap> gaps() const override { return m_source->gaps(); }
  double time(std::int64_t trial, std::int64_t sample) const override {
    return m_source->time(trial, sample);
  }
  bool hasMissing() const override { return m_source->hasMissing(); }
  const std::vector<Finding>& warnings() const override { return m_source->warnings(); }

 protected:
  const SampleSource& source() const { return *m_source; }

 private:
  std::shared_ptr<const SampleSource> m_source;
};

}  // namespace ctfmeg
