#include "res4/record_pieces.h"

#include <algorithm>

std::span<const std::byte> RecordPieces::next() {
  if (m_next == m_piece.size() && !readPiece()) return {};
  const auto rest = std::span<const std::byte>(m_piece).subspan(m_next);
  m_next += m_size;
  ++m_given;
  return rest;
}

bool RecordPieces::readPiece() {
  constexpr std::size_t kRecords = 16;
  m_piece.clear();
  m_next = 0;
  bool endsText = false;
  while (m_left > 0 && !endsText) {
    const std::size_t held = m_piece.size(), wanted = std::min(m_left, kRecords) * m_size;
    m_piece.resize(held + wanted);
    if (m_file.Read(m_piece.data() + held, wanted) != wanted) {
      m_piece.clear();
      return false;
    }
    m_left -= wanted / m_size;
    endsText = std::find(m_piece.end() - static_cast<std::ptrdiff_t>(m_size), m_piece.end(), std::byte{0}) !=
               m_piece.end();
  }
  return !m_piece.empty();
}
