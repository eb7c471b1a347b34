#include "cli/completion.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace rq::cli {
namespace {

using Kind = Values::Kind;

/// `text` with a backslash before each of `characters`.
std::string backslashed(const std::string& text, std::string_view characters) {
  std::string result;
  for (const char c : text) {
    if (characters.find(c) != std::string_view::npos) result += '\\';
    result += c;
  }
  return result;
}

std::string enclosed(char first, std::string text, char last) {
  text.insert(text.begin(), first);
  text += last;
  return text;
}

/// One word of sh and zsh, whatever it holds.
std::string shellQuoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

/// The words with `separator` between them.
std::string joined(const std::vector<std::string>& words, const std::string& separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

std::vector<std::string> namesOf(const std::vector<CommandModel>& commands) {
  std::vector<std::string> names;
  names.reserve(commands.size());
  for (const CommandModel& command : commands) names.push_back(command.name);
  return names;
}

std::vector<std::string> namesOf(const std::vector<OptionModel>& options) {
  std::vector<std::string> names;
  for (const OptionModel& option : options) names.insert(names.end(), option.names.begin(), option.names.end());
  return names;
}

// bash: one function over the words before the cursor; options of one name take the same values everywhere.

constexpr const char* bashHead = R"sh(# bash completion for rqtext, printed by `rqtext completion bash`.

# Names of encodings that begin with $1 in either case. A colon would be cut by the shell.
_rqtext_encodings() {
  rqtext encodings 2>/dev/null | cut -f 2- | tr '\t ' '\n\n' |
    awk -v "begin=${1,,}" 'index(tolower($0), begin) == 1 && !/:/'
}

_rqtext() {
  local current=${COMP_WORDS[COMP_CWORD]} command='' option='' operands=0 word words='' files='' i
  COMPREPLY=()
  # What stands before the cursor: the command, its operands, an option that waits for its value.
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    if [[ -n $option ]]; then
      [[ $word == '=' ]] || option=''
      continue
    fi
    case $word in
)sh";

constexpr const char* bashTail = R"sh(  fi
  if [[ -n $files ]]; then
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  elif [[ -n $words ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  fi
}

complete -F _rqtext rqtext
)sh";

/// Options that take a value, each once.
std::vector<OptionModel> valueOptions(const CommandModel& app) {
  std::vector<OptionModel> options;
  std::set<std::string> known;
  for (const CommandModel& command : app.commands) {
    for (const OptionModel& option : command.options) {
      if (option.values.kind != Kind::none && known.insert(option.names.back()).second) options.push_back(option);
    }
  }
  return options;
}

std::string bashValues(const Values& values) {
  switch (values.kind) {
    case Kind::choices:
      return "words=" + shellQuoted(joined(values.choices, " "));
    case Kind::files:
      return "files=yes";
    case Kind::encodings:
      return "mapfile -t COMPREPLY < <(_rqtext_encodings \"$current\")";
    case Kind::none:
    case Kind::free:
      break;
  }
  return ":";
}

/// An operand that is given once stands first.
std::string bashOperands(const CommandModel& command) {
  std::string text;
  for (const OperandModel& operand : command.operands) {
    text +=
        "      " + command.name + ":" + (operand.repeated ? "*" : "0") + ") " + bashValues(operand.values) + " ;;\n";
  }
  return text;
}

std::string bashScript(const CommandModel& app) {
  const std::vector<OptionModel> options = valueOptions(app);
  std::string text = bashHead;
  text += "      " + joined(namesOf(options), " | ") + ") option=$word ;;\n" +
          "      -*) ;;\n"
          "      *) if [[ -z $command ]]; then command=$word; else ((++operands)); fi ;;\n"
          "    esac\n"
          "  done\n"
          "  if [[ -n $option ]]; then\n"
          "    [[ $current != '=' ]] || current=''\n"
          "    case $option in\n";
  for (const OptionModel& option : options) {
    text += "      " + joined(option.names, " | ") + ") " + bashValues(option.values) + " ;;\n";
  }
  text +=
      "    esac\n"
      "  elif [[ $current == -* ]]; then\n"
      "    case $command in\n"
      "      '') words=" +
      shellQuoted(joined(namesOf(app.options), " ")) + " ;;\n";
  for (const CommandModel& command : app.commands) {
    text += "      " + command.name + ") words=" + shellQuoted(joined(namesOf(command.options), " ")) + " ;;\n";
  }
  text +=
      "    esac\n"
      "  else\n"
      "    case $command:$operands in\n"
      "      :0) words=" +
      shellQuoted(joined(namesOf(app.commands), " ")) + " ;;\n";
  for (const CommandModel& command : app.commands) text += bashOperands(command);
  return text + "    esac\n" + bashTail;
}

// zsh: specifications for its own _arguments.

constexpr const char* zshHead = R"sh(#compdef rqtext
# zsh completion for rqtext, printed by `rqtext completion zsh`.

_rqtext_encodings() {
  local -a names expl
  names=(${(s: :)${(j: :)${(f)"$(rqtext encodings 2>/dev/null | cut -f 2- | tr '\t' ' ')"}}})
  _wanted encodings expl encoding compadd -M 'm:{a-zA-Z}={A-Za-z}' -a names
}

_rqtext() {
  local curcontext=$curcontext context state state_descr ret=1
  local -a line commands
  typeset -A opt_args
)sh";

std::string zshValues(const Values& values) {
  switch (values.kind) {
    case Kind::choices:
      return enclosed('(', joined(values.choices, " "), ')');
    case Kind::files:
      return "_files";
    case Kind::encodings:
      return "_rqtext_encodings";
    case Kind::none:
    case Kind::free:
      break;
  }
  return " ";
}

std::string zshOption(const OptionModel& option) {
  const bool valued = option.values.kind != Kind::none;
  std::string value;
  if (valued) value = ":" + option.names.back().substr(2) + ":" + zshValues(option.values);
  const std::string together = enclosed('(', joined(option.names, " "), ')');
  const std::string description = enclosed('[', backslashed(option.description, "[]:\\"), ']');
  std::string text;
  for (const std::string& name : option.names) {
    std::string argument = together;
    argument += name;
    argument += !valued ? "" : name.starts_with("--") ? "=" : "+";
    argument += description;
    argument += value;
    text += " \\\n        ";
    text += shellQuoted(argument);
  }
  return text;
}

std::string zshCommand(const CommandModel& command) {
  std::string text = "      " + command.name + ")\n      _arguments";
  for (const OptionModel& option : command.options) text += zshOption(option);
  for (const OperandModel& operand : command.operands) {
    const std::string place = operand.repeated ? "*" : "1";
    text += " \\\n        " + shellQuoted(place + ":" + operand.name + ":" + zshValues(operand.values));
  }
  return text + " && ret=0\n      ;;\n";
}

std::string zshScript(const CommandModel& app) {
  std::string text = std::string(zshHead) + "  commands=(\n";
  for (const CommandModel& command : app.commands) {
    text += "    " + shellQuoted(command.name + ":" + backslashed(command.description, ":\\")) + "\n";
  }
  text += "  )\n  _arguments -C";
  for (const OptionModel& option : app.options) text += zshOption(option);
  text +=
      " \\\n        '1: :->command' '*:: :->arguments' && ret=0\n"
      "  case $state in\n"
      "    command) _describe -t commands command commands && ret=0 ;;\n"
      "    arguments)\n"
      "    case $words[1] in\n";
  for (const CommandModel& command : app.commands) text += zshCommand(command);
  return text + "    esac\n    ;;\n  esac\n  return ret\n}\n\n_rqtext \"$@\"\n";
}

// fish: a line per fact.

constexpr const char* fishHead = R"sh(# fish completion for rqtext, printed by `rqtext completion fish`.

function __rqtext_encodings
    rqtext encodings 2>/dev/null | cut -f 2- | string split --no-empty \t | string split --no-empty ' '
end

complete -c rqtext -f
)sh";

std::string fishQuoted(const std::string& text) {
  return enclosed('\'', backslashed(text, "\\'"), '\'');
}

std::string fishValues(const Values& values) {
  switch (values.kind) {
    case Kind::choices:
      return " -x -a " + fishQuoted(joined(values.choices, " "));
    case Kind::files:
      return " -r -F";
    case Kind::encodings:
      return " -x -a '(__rqtext_encodings)'";
    case Kind::free:
      return " -x";
    case Kind::none:
      break;
  }
  return "";
}

std::string fishLine(const std::string& condition, const std::string& rest) {
  return "complete -c rqtext -n " + fishQuoted(condition) + rest + "\n";
}

std::string fishOption(const std::string& condition, const OptionModel& option) {
  std::string names;
  for (const std::string& name : option.names) {
    names += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  return fishLine(condition, names + fishValues(option.values) + " -d " + fishQuoted(option.description));
}

std::string fishCommand(const CommandModel& command) {
  const std::string inside = "__fish_seen_subcommand_from " + command.name;
  std::string text;
  for (const OptionModel& option : command.options) text += fishOption(inside, option);
  std::string before;  // the choices of the operands before this one
  for (const OperandModel& operand : command.operands) {
    std::string here = inside;
    if (!before.empty()) here += "; and __fish_seen_subcommand_from " + before;
    if (operand.values.kind == Kind::choices) {
      before = joined(operand.values.choices, " ");
      here += "; and not __fish_seen_subcommand_from ";
      here += before;
      text += fishLine(here, " -a " + fishQuoted(before));
    } else {
      text += fishLine(here, " -F");
    }
  }
  return text;
}

std::string fishScript(const CommandModel& app) {
  const std::string outside = "__fish_use_subcommand";
  std::string text = fishHead;
  for (const OptionModel& option : app.options) text += fishOption(outside, option);
  for (const CommandModel& command : app.commands) {
    text += fishLine(outside, " -a " + command.name + " -d " + fishQuoted(command.description));
  }
  for (const CommandModel& command : app.commands) text += fishCommand(command);
  return text;
}

}  // namespace

std::string completionScript(const CommandModel& app, Shell shell) {
  switch (shell) {
    case Shell::bash:
      return bashScript(app);
    case Shell::zsh:
      return zshScript(app);
    case Shell::fish:
      break;
  }
  return fishScript(app);
}

}  // namespace rq::cli
