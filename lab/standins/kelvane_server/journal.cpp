#include "journal.h"

#include <stdexcept>

namespace Lab::Kelvane {
namespace {

Json::StreamWriterBuilder OneLine() {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return builder;
}

}  // namespace

Journal::Journal(const std::string& file) : writer_(OneLine().newStreamWriter()) {
  if (file.empty()) return;
  stream_.open(file, std::ios::binary | std::ios::trunc);
  if (!stream_) throw std::runtime_error(file + ": the journal can't be written");
}

void Journal::Write(const Json::Value& line) {
  if (!stream_.is_open()) return;
  writer_->write(line, &stream_);
  stream_ << std::endl;
}

std::string JsonLine(const Json::Value& value) { return Json::writeString(OneLine(), value); }

}  // namespace Lab::Kelvane
