#include <megreader/datamodel/import_scope.h>

#include "hosts/datamodel/trial_storage.h"

#include <megreader/datamodel/meg_data_file.h>

ImportScope::ImportScope(CMEGData9FileA00Basic& data, const ImportPlan& plan)
    : m_data(data), m_ready(data.openImport(plan)) {}

ImportScope::~ImportScope() { m_data.m_import.reset(); }

std::span<std::int32_t> ImportScope::room(std::int32_t first, std::int32_t count) {
  return m_data.m_trials ? m_data.m_trials->room(first, count) : std::span<std::int32_t>();
}

void ImportScope::setFileTrial(std::int32_t trial) { m_data.m_fileTrial = trial; }
