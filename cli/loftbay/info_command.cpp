#include "cli/loftbay/info_command.h"
namespace loftbay::cli { int infoCommand(const std::vector<std::string>&) { return 2; } }
