#pragma once

#include <megreader/framework/export.h>

/// The host's document. The reader only passes it on.
class MEGREADER_API CDocument {
 public:
  CDocument() = default;
  CDocument(const CDocument&) = delete;
  CDocument& operator=(const CDocument&) = delete;
  virtual ~CDocument() = default;
};
