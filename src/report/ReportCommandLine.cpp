#include "report/ReportCommandLine.h"

#include <CLI/CLI.hpp>

#include "pages/SectorView.h"
#include "report/ReportJson.h"

namespace {

struct CommandSpec {
    const char* name;
    const char* operands;  // as the synopsis shows them
    size_t minOperands, maxOperands;
    const char* help;      // indented lines for --help
};

const CommandSpec kCommands[] = {
    {"drives", "", 0, 0,
     "every optical drive, one line each: the drive selector's\n"
     "text, letter, SCSI address (port:path:target:lun) and device\n"
     "path, separated by tabs. Emulated: each --drive given and\n"
     "every drive file of each --drives FOLDER"},
    {"ids", "", 0, 0,
     "the tidied INQUIRY vendor and product ids and the drive\n"
     "selector's text: Vendor:, Product:, Selector: lines"},
    {"drive", "", 0, 0, "the Drive page's eleven fields, one 'Label value' line each"},
    {"capabilities", "", 0, 0,
     "every field of the drive's capability record (mode page\n"
     "2Ah and the feature list), one 'name: value' line each;\n"
     "bit words as 0x plus 8 hex digits, the rest in decimal"},
    {"features", "", 0, 0,
     "the Feature page's 64 shown labels in the page's order, one\n"
     "'group<TAB>caption<TAB>on|off' line each"},
    {"media", "", 0, 0, "the Media page's report exactly as the page shows it, with\nCR LF line ends"},
    {"files", "", 0, 0,
     "the File page's export of the disc's UDF tree\n"
     "(filesystem.txt) byte for byte, with CR LF line ends"},
    {"report", "[OUT.txt]", 0, 1,
     "every page that reads the drive in one text, each under a\n"
     "heading: Drive, Feature, Media and, when the disc has a UDF\n"
     "volume, Files; with the program's version and the date.\n"
     "Written to OUT.txt when given, else to standard output"},
    {"extract", "PATH OUT", 2, 2, "copies the disc file PATH to OUT"},
    {"sector", "N", 1, 1,
     "the Sector Viewer's text for sector N exactly as the page\n"
     "shows it, with CR LF line ends"},
    {"dump", "OUT", 1, 1,
     "the disc dump (Save Image): sectors 0 up to the first file\n"
     "data of the UDF volume, at most to the end of the medium"},
    {"capture", "OUT.drive", 1, 1,
     "sends every command the pages send and writes every answer,\n"
     "sense data included, into the drive file OUT.drive, which\n"
     "--drive then replays. --sectors N (an option after capture)\n"
     "also saves sectors 0..N-1 into OUT.iso beside it"},
};

const CommandSpec* FindCommand(const std::string& name) {
    for (const CommandSpec& c : kCommands)
        if (name == c.name) return &c;
    return nullptr;
}

std::string Indented(const char* text, const std::string& indent) {
    std::string out = indent;
    for (const char* p = text; *p; ++p) {
        out += *p;
        if (*p == '\n') out += indent;
    }
    return out + "\n";
}

std::string Synopsis(const CommandSpec& c) {
    std::string s = c.name;
    if (*c.operands) s += std::string(" ") + c.operands;
    return s;
}

std::string BuildHelp() {
    std::string h =
        "usage: vexlon-report --drive FILE.drive COMMAND\n"
        "       vexlon-report --drive FILE.drive extract PATH OUT\n"
        "       vexlon-report --drive FILE.drive sector N | dump OUT | report [OUT.txt]\n"
        "       vexlon-report --drive FILE.drive capture [--sectors N] OUT.drive\n"
#ifdef _WIN32
        "       vexlon-report --device E: COMMAND\n"
#elif defined(__linux__)
        "       vexlon-report --device /dev/sr0 COMMAND\n"
#endif
        "       vexlon-report [--drive FILE.drive]... [--drives FOLDER]... drives\n"
        "       vexlon-report COMMAND --help\n"
        "\n"
        "Prints what Vexlon Inspector shows for one optical drive, read from a\n"
        "drive file (an emulated drive and its disc)"
#ifdef _WIN32
        " or from a real drive letter"
#elif defined(__linux__)
        " or from a real drive through SG_IO"
#endif
        ".\n\n"
        "options (before the command, in any order):\n"
        "  --drive FILE.drive  the emulated drive a drive file describes\n"
        "  --drives FOLDER     every drive file in FOLDER (drives only)\n"
#ifdef _WIN32
        "  --device E:         the optical drive with that letter\n"
#elif defined(__linux__)
        "  --device /dev/sr0   the optical drive at that path (sr or sg device)\n"
#endif
        "  --json              one JSON document instead of text (drives, ids,\n"
        "                      drive, capabilities, features, media, files, report)\n"
        "  --stats             after the output, on standard error: the commands\n"
        "                      sent, the sectors read and, for an emulated drive,\n"
        "                      the simulated drive time\n"
        "  -h, --help          this text; COMMAND --help describes one command\n"
        "\n"
        "commands:\n";
    for (const CommandSpec& c : kCommands) {
        std::string head = "  " + Synopsis(c);
        std::string body = Indented(c.help, std::string(18, ' '));
        if (head.size() < 16) body.replace(0, head.size(), head);
        else body = head + "\n" + body;
        h += body;
    }
    h += "\n"
         "exit status:\n"
         "  0  done\n"
         "  1  the drive failed: it cannot be opened, it holds no volume to read,\n"
         "     or an output file cannot be written\n"
         "  2  usage: an unknown option or command, a missing or extra operand\n"
         "\n"
         "Errors go to standard error, one line each.\n";
    return h;
}

std::string UsageOf(const CommandSpec& c) {
    std::string s = c.name;
    switch (c.maxOperands) {
    case 0: return s + " takes no operands";
    default: return s + " takes " + c.operands;
    }
}

// Operands, flags given after the command, and the one source of drives.
bool CheckCommand(const CommandSpec& spec, const std::vector<std::string>& extras, ReportOptions& o,
                  std::string& text) {
    for (const std::string& e : extras) {
        if (!e.empty() && e[0] == '-' && e.size() > 1) {
            text = "'" + e + "' is not an option of " + spec.name + ": options go before the command";
            return false;
        }
    }
    if (o.operands.size() < spec.minOperands || o.operands.size() > spec.maxOperands) {
        text = UsageOf(spec);
        if (o.operands.size() > spec.maxOperands) text += ", not '" + o.operands[spec.maxOperands] + "'";
        return false;
    }
    if (o.json && !HasJsonDocument(o.command)) {
        text = "--json is not for " + o.command + ": drives, ids, drive, capabilities, features, media, files and report have it";
        return false;
    }
    uint32_t lba = 0;
    if (o.command == "sector" && !ParseSectorNumber(o.operands[0], lba)) {
        text = "sector takes one sector number from 0 to 4294967295, not '" + o.operands[0] + "'";
        return false;
    }
    if (o.command == "drives") {
        if (!o.device.empty()) text = "drives takes --drive or --drives, not --device";
        return text.empty();
    }
    size_t sources = o.driveFiles.size() + o.driveFolders.size() + (o.device.empty() ? 0 : 1);
    if (sources == 0) text = "no drive given: use --drive FILE.drive"
#ifdef _WIN32
                             " or --device E:"
#endif
        ;
    else if (!o.driveFolders.empty()) text = "--drives is for the drives command; give one --drive FILE.drive";
    else if (sources > 1) text = std::string(spec.name) + " reads one drive; more than one was given";
    return text.empty();
}

std::string CleanParseError(const CLI::ParseError& e) {
    std::string what = e.what();
    if (e.get_name() == "ConversionError" && what.find("--sectors") != std::string::npos)
        return "--sectors takes a number of sectors from 0 to 4294967295";
    // "--drive: 1 required TEXT missing" and the like: say which value is missing.
    size_t colon = what.find(':');
    if (e.get_name() == "ArgumentMismatch" && what.compare(0, 2, "--") == 0 && colon != std::string::npos)
        return what.substr(0, colon) + " needs a value";
    return what;
}

}  // namespace

const std::string& ReportHelpText() {
    static const std::string help = BuildHelp();
    return help;
}

std::string CommandHelpText(const std::string& command) {
    const CommandSpec* c = FindCommand(command);
    if (!c) return "";
    std::string text = "usage: vexlon-report [OPTIONS] " + Synopsis(*c);
    if (command == "capture") text += " [--sectors N]";
    return text + "\n\n" + Indented(c->help, "") + "\nvexlon-report --help lists the options.\n";
}

CommandLineOutcome ParseReportCommandLine(int argc, const char* const* argv, ReportOptions& o, std::string& text) {
    CLI::App app{"", "vexlon-report"};
    app.set_help_flag("-h,--help");
    // Disc paths start with '/': on Windows too they are operands, never options.
    app.allow_windows_style_options(false);
    app.allow_extras();
    app.require_subcommand(0, 1);
    app.add_option("--drive", o.driveFiles)->type_size(1)->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--drives", o.driveFolders)->type_size(1)->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--device", o.device)->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    app.add_flag("--json", o.json);
    app.add_flag("--stats", o.stats);
    for (const CommandSpec& c : kCommands) {
        CLI::App* sub = app.add_subcommand(c.name);
        sub->allow_extras();
        sub->add_option("operands", o.operands);
        if (std::string(c.name) == "capture") sub->add_option("--sectors", o.sectors);
    }
    try {
        app.parse(argc, const_cast<char**>(argv));
    } catch (const CLI::CallForHelp&) {
        std::vector<CLI::App*> chosen = app.get_subcommands();
        text = chosen.empty() ? ReportHelpText() : CommandHelpText(chosen[0]->get_name());
        return CommandLineOutcome::Help;
    } catch (const CLI::ParseError& e) {
        text = CleanParseError(e);
        return CommandLineOutcome::UsageError;
    }
    std::vector<std::string> extras = app.remaining();
    if (!extras.empty()) {
        const std::string& first = extras[0];
        bool option = first.size() > 1 && first[0] == '-';
        text = option ? "unknown option '" + first + "'" : "unknown command '" + first + "'";
        return CommandLineOutcome::UsageError;
    }
    std::vector<CLI::App*> chosen = app.get_subcommands();
    if (chosen.empty()) {
        text = "no command given";
        return CommandLineOutcome::UsageError;
    }
    o.command = chosen[0]->get_name();
    CLI::Option* sectors = chosen[0]->get_option_no_throw("--sectors");
    o.hasSectors = sectors && sectors->count() > 0;
    if (!CheckCommand(*FindCommand(o.command), chosen[0]->remaining(), o, text))
        return CommandLineOutcome::UsageError;
    return CommandLineOutcome::Run;
}
