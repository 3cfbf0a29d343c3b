// What is wrong with a file, in documents of --json.
#pragma once

#include "cli/console.h"
#include "zix/json_writer.h"
#include "zix/reader.h"

namespace loftbay::cli {

// Members of the object that was begun. `Fault`: a reader's error, or a finding of validation.
template <typename Fault>
void writeFault(Orb::Zix::JsonWriter& json, const Fault& fault) {
  json.key("code");
  json.text(fault.code);
  json.key("offset");
  json.number(fault.offset);
  json.key("message");
  json.text(fault.message);
}

// The whole document where there is no scene to describe.
inline void printJsonError(const Orb::Zix::ReadError& error) {
  Orb::Zix::JsonWriter json(print);
  json.beginObject();
  json.key("error");
  json.beginObject();
  writeFault(json, error);
  json.end();
  json.end();
  json.finish();
}

}  // namespace loftbay::cli
