// vekhost docs: the effect catalogue in Markdown, generated from the tables so that it cannot drift.
#include <cctype>
#include <fstream>
#include <sstream>

#include "commands.h"
#include "vekhost/error.h"
#include "vekhost/value.h"

namespace vek::tool {
namespace {

// GitHub's heading anchor for a class id: the id in lower case.
std::string Anchor(const std::string& classId) {
  std::string anchor = classId;
  for (char& c : anchor) c = char(std::tolower(static_cast<unsigned char>(c)));
  return anchor;
}

std::string Heading(uint32_t category) {
  std::string name = host::CategoryName(category);
  name.front() = char(std::toupper(static_cast<unsigned char>(name.front())));
  return name + " (category " + std::to_string(category) + ")";
}

std::string Cell(const std::string& text) {
  std::string cell;
  for (char c : text) {
    if (c == '|') cell += '\\';
    cell += c;
  }
  return cell;
}

std::string Code(const std::string& text) {
  if (text.empty()) return text;
  std::string code = "`";
  code += Cell(text);
  code += '`';
  return code;
}

std::string DefaultCell(const host::Param& param) {
  const std::string text = host::FormatValue(param, param.defaultValue);
  const bool isText = param.typeCode == VEK_TYPE_STRING || param.typeCode == VEK_TYPE_WIDE_STRING;
  return isText && text.empty() ? "(empty)" : Code(text);
}

void WriteEffect(const host::Effect& effect, std::ostream& out) {
  out << "### " << effect.classId << "\n\n";
  out << "Subclass `" << effect.subclass << "` (sub-id " << effect.subId << "), " << effect.inputs
      << (effect.inputs == 1 ? " input" : " inputs") << ", " << effect.privateBytes << " private bytes, value block of "
      << effect.valueBlockBytes << " bytes. Name id `" << effect.nameId << "`.\n\n";
  out << "| Key | Name | Type | Range | Default | Options |\n|---|---|---|---|---|---|\n";
  for (const host::Param& param : effect.params) {
    std::string options;
    for (std::size_t k = 0; k < param.options.size(); ++k) {
      if (k) options += ", ";
      options += Cell(param.options[k]);
    }
    out << "| " << Cell(param.key) << " | " << Code(param.nameId) << " | " << host::TypeName(param.typeCode) << " | "
        << Code(host::FormatRange(param)) << " | " << DefaultCell(param) << " | " << options << " |\n";
  }
  out << '\n';
  for (const host::Param& param : effect.params) {
    if (const std::string_view note = ValueNote(effect.classId, param.key); !note.empty()) {
      out << "Values of " << param.key << ": " << note << ".\n\n";
    }
  }
}

std::string Markdown(const host::Plugin& plugin) {
  const std::vector<CategoryGroup> groups = GroupCatalogue(plugin.Effects());
  std::ostringstream out;
  out << "# Effect catalogue\n\n"
      << "Generated from the plug-in's descriptor and parameter tables by `vekhost docs` "
         "(`cmake --build build --target docs`). Do not edit it by hand: change the tables and regenerate it; "
         "a test fails when this file and the tables disagree.\n\n"
      << plugin.Effects().size()
      << " effects, by category and subclass. Values are written as `vekhost` takes them: enumeration options "
         "by word (numbered from 0 in the order given), switches as on/off, colours as #RRGGBB, rectangles as "
         "left,top,right,bottom and positions as x,y.\n\n## Contents\n\n";
  for (const CategoryGroup& group : groups) {
    out << "- " << Heading(group.category) << '\n';
    for (const SubclassGroup& subclass : group.subclasses) {
      out << "  - `" << subclass.subclass << "`:";
      for (const host::Effect* effect : subclass.effects) {
        out << (effect == subclass.effects.front() ? " " : ", ") << "[" << effect->classId << "](#"
            << Anchor(effect->classId) << ")";
      }
      out << '\n';
    }
  }
  out << '\n';
  for (const CategoryGroup& group : groups) {
    out << "## " << Heading(group.category) << "\n\n";
    for (const SubclassGroup& subclass : group.subclasses) {
      for (const host::Effect* effect : subclass.effects) WriteEffect(*effect, out);
    }
  }
  std::string text = out.str();
  text.pop_back();  // one newline at the end of the file, not a blank line
  return text;
}

}  // namespace

void DocsCommand(const host::Plugin& plugin, const std::filesystem::path& output) {
  const std::string text = Markdown(plugin);
  std::ofstream file(output, std::ios::binary | std::ios::trunc);
  if (!(file << text) || !file.flush()) throw host::Error("cannot write " + output.string());
}

}  // namespace vek::tool
