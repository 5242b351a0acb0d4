#include <memory>

#include "hosts/reader/ctf_dataset_reader.h"
#include "res4/decode.h"
#include "res4/name_budget.h"
#include "res4/record_pieces.h"
#include "res4/res4_findings.h"
#include "res4/res4_layout.h"
#include "util/file_bytes.h"
#include "util/guarded.h"

int CCtfReader2Res4::readCoefficients(CFile& file) {
  return guardedAgainstMemory(file.GetFilePath(), 0, [&] { return addCoefficients(file); });
}

int CCtfReader2Res4::addCoefficients(CFile& file) {
  CCoefficientManagerzk& manager = *m_currentData->getMEGRecordInfozk()->getSensorCoefficientzk();
  const auto countBytes = readExactly(file, sizeof(std::int16_t));
  if (!countBytes) return failShort(file, L"its number of coefficient records");
  const std::int16_t count = loadBigEndian<std::int16_t>(*countBytes, 0);
  manager.count = count;
  if (count < 1) return 1;

  RecordPieces records(file, count, kCoefficientRecordSize);
  if (!records.allThere()) return failShort(file, L"its coefficient records");
  const auto number = static_cast<std::size_t>(count);
  auto sets = std::make_unique<CCoefficientDatazk[]>(number);
  NameBudget budget;
  for (std::size_t i = 0; i < number; ++i) {
    const auto record = records.next();
    if (record.empty()) return failShort(file, L"its coefficient records");
    if (!decodeCoefficients(record, m_rules, sets[i])) {
      reportRes4(file, "res4.references", L"has a coefficient record of more than 50 references",
                 records.offset());
      return 0;
    }
    if (!budget.take(sets[i].sensorName)) return failWithoutEnds(file, L"its coefficient records");
  }
  manager.addCoefficientsData(count, sets.release());
  return 1;
}
