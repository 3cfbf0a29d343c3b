// The document of --json where there is no scene to describe.
#pragma once

#include "cli/console.h"
#include "zix/json_writer.h"
#include "zix/reader.h"

namespace loftbay::cli {

inline void printJsonError(const Orb::Zix::ReadError& error) {
  Orb::Zix::JsonWriter json(print);
  json.beginObject();
  json.key("error");
  json.beginObject();
  json.key("code");
  json.text(error.code);
  json.key("offset");
  json.number(error.offset);
  json.key("message");
  json.text(error.message);
  json.end();
  json.end();
  json.finish();
}

}  // namespace loftbay::cli
