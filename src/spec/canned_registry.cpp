// The registry that is built in, for a process that could not cache the file. Lookup takes the first row of a name. Files are named
// by these numbers: a row that looks like a slip ("csid933", 29709, a name that stands twice) keeps its value for the data that is
// out there.
#include "spec/registry.h"

namespace qbgl {

// clang-format off
const CannedCodeset vrn_canned_registry[] = {
    {"ascii", 364}, {"c", 819}, {"posix", 819}, {"unitedstates", 437},
    {"cp437", 437}, {"8859-1", 819}, {"latin-1", 819}, {"korhstextsbcs", 833},
    {"ccsid833", 833}, {"korhstdbcs", 834}, {"ccsid834", 834}, {"tchhstdbcs", 835},
    {"ccsid835", 835}, {"schhstextsbcs", 836}, {"ccsid836", 836}, {"schhstdbcs", 837},
    {"ccsid837", 837}, {"pc-latin-1", 850}, {"pc-latin-2", 852}, {"pc-data-hebrew", 856},
    {"pc-hebrew-saa", 856}, {"pc-cyrillic", 866}, {"cis-1", 866}, {"pc866", 866},
    {"8859-2", 912}, {"latin-2", 912}, {"cyrillic-8bit", 915}, {"ccsid932", 932},
    {"sjis-s", 932}, {"pc-sjis", 932}, {"korhstmxexsbcs", 933}, {"csid933", 933},
    {"schmxexsbcs", 935}, {"ccsid935", 935}, {"tchhstmxexsbcs", 937}, {"ccsid937", 937},
    {"tchhstexsbcs", 28709}, {"ccsid28709", 29709}, {"8859-3", 57346}, {"latin-3", 57346},
    {"8859-4", 57347}, {"latin-4", 57347}, {"8859-5", 915}, {"latin-cyrillic", 915},
    {"8859-6", 1089}, {"latin-arabic", 1089}, {"8859-7", 813}, {"latin-greek", 813},
    {"8859-8", 916}, {"latin-hebrew", 916}, {"8859-9", 920}, {"latin-5", 920},
    {"iso-7-german", 1011}, {"646de", 1011}, {"iso-7-danish", 1017}, {"pc1046", 1046},
    {"arabic-pc", 1046}, {"unicode", 57349}, {"east-europe", 1250}, {"cp1250", 1250},
    {"pc-slavic", 1251}, {"cp1251", 1251}, {"west-europe", 1252}, {"cp1252", 1252},
    {"pc-greek", 1253}, {"cp1253", 1253}, {"pc-latin5", 1254}, {"cp1254", 1254},
    {"pc-turkish", 1254}, {"pc-hebrew", 1255}, {"cp1255", 1255}, {"pc-arabic", 1256},
    {"cp1256", 1256}, {"sjis", 57350}, {"shift-jis", 57350}, {"ujis", 57351},
    {"eucjp", 5050}, {"big5", 57352}, {"big-5", 57352}, {"sbig5", 57353},
    {"shift-big-5", 57353}, {"ccdc", 57354}, {"cccii", 57355}, {"greek", 737},
    {"greek", 737}, {"ksc", 57356}, {"ks5601", 57356}, {"cp949", 57356},
    {"gb", 57357}, {"gb2312-80", 57357}, {"ebcdic", 37}, {"ebcdic-us", 37},
    {"chngcase", 57358}, {"banga", 57359}, {"shift1", 57360}, {"rot13", 57361},
    {"swap0to9", 57362}, {"pcwin", 57363}, {"qacvtest", 57365}, {"swap09-nl", 57366},
    {"qa-unix-client", 57367}, {"qa-unix-server", 57368}, {"qa-win-client", 57369}, {"guobiao2312", 57357},
    {"mik", 57370}, {"utf8", 57372}, {"thai", 57373}, {"thai620", 57373},
    {"sopstw", 57374}, {"euctw", 57375}, {"cns", 57375}, {"cns-extended", 57378},
    {"eucxtw", 57378}, {"tst", 57376}, {"qa-win-950", 57377}, {"qa-win-932", 57379},
    {"koi-8", 57382}, {"csk", 57383}, {"mazovia", 57384}, {"maz", 57384},
    {"roman8", 57385}, {"qa-win-unicode", 57386}, {"qa-unix-big5", 57387},
    {nullptr, 0},
};
// clang-format on

static_assert(sizeof vrn_canned_registry / sizeof *vrn_canned_registry == 123 + 1);

} // namespace qbgl
