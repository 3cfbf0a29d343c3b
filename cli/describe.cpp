#include "cli/describe.h"

#include "zix/json_writer.h"

namespace loftbay::cli {

namespace {

using Orb::Zix::JsonWriter;

struct Form {
  std::string_view name;
  std::string (*write)(const Program&);
};

std::string_view nameOf(OptionKind kind) {
  switch (kind) {
    case OptionKind::Flag:
      return "flag";
    case OptionKind::Number:
      return "number";
    case OptionKind::Text:
      return "text";
    case OptionKind::Path:
      return "path";
    case OptionKind::Choice:
      break;
  }
  return "choice";
}

void writeTexts(JsonWriter& json, std::string_view key, const std::vector<std::string_view>& texts) {
  json.key(key);
  json.beginArray(JsonWriter::OnOneLine);
  for (const std::string_view text : texts) json.text(text);
  json.end();
}

void writeText(JsonWriter& json, std::string_view key, std::string_view text) {
  json.key(key);
  json.text(text);
}

void writeBoolean(JsonWriter& json, std::string_view key, bool value) {
  json.key(key);
  json.boolean(value);
}

void writeOption(JsonWriter& json, const Program& program, const Option& option) {
  json.beginObject();
  writeText(json, "name", option.name);
  writeText(json, "short_name", option.short_name);
  writeText(json, "help", option.help);
  writeText(json, "kind", nameOf(option.kind));
  writeText(json, "argument", option.argument);
  writeTexts(json, "choices", option.choices);
  writeBoolean(json, "other_values", option.other_values);
  writeText(json, "default", option.default_value);
  writeText(json, "valid", validValues(option));
  writeText(json, "group", option.group);
  std::vector<std::string_view> commands;
  for (const Command& command : program.commands) {
    if (takes(command, option)) commands.push_back(command.name);
  }
  writeTexts(json, "commands", commands);
  writeBoolean(json, "repeated", option.repeated);
  writeBoolean(json, "passed_on", option.passed_on);
  writeBoolean(json, "reported", option.reported);
  writeBoolean(json, "unlisted", option.unlisted);
  json.end();
}

std::string tableAsJson(const Program& program) {
  std::string text;
  JsonWriter json([&](std::string_view piece) { text += piece; });
  json.beginArray();
  for (const Option& option : program.options) writeOption(json, program, option);
  json.end();
  json.finish();
  return text;
}

constexpr Form kForms[] = {{"options", tableAsJson},
                           {"man", manualPage},
                           {"bash", bashCompletion},
                           {"zsh", zshCompletion},
                           {"fish", fishCompletion}};

}  // namespace

std::string description(const Program& program, std::string_view form) {
  for (const Form& known : kForms) {
    if (known.name == form) return known.write(program);
  }
  return "";
}

std::vector<Option> commonOptions() {
  Option describe{.name = "--describe",
                  .help = "the table of options, the manual page, or what a shell needs to complete these",
                  .kind = OptionKind::Choice,
                  .argument = "FORM",
                  .unlisted = true};
  for (const Form& form : kForms) describe.choices.push_back(form.name);
  return {
      {
          .name = "--help",
          .short_name = "-h",
          .help = "this text; after a command, the command's own",
      },
      {
          .name = "--version",
          .help = "version of the program and of the file format",
      },
      std::move(describe),
  };
}

}  // namespace loftbay::cli
