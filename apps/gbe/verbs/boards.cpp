// gbe boards: the boards, and the links of their ports.
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/Json.h"
#include "gbe/Table.h"
#include "gbe/options.h"

#include <QtCore/QJsonArray>

#include <memory>

namespace gbe {
namespace {

std::string linkText(int board, unsigned port) {
    int up = 0;
    const int code = Gbe_getLinkState(board, port, &up);
    return code < 0 ? Gbe_getErrorDescription(code) : up != 0 ? "up" : "down";
}

void showBoards(bool withLinks, bool json) {
    QJsonArray array;
    Table table(
        withLinks ? std::vector<std::string>{"BOARD", "PORT 0", "PORT 1", "PORT 2", "PORT 3"}
                  : std::vector<std::string>{"BOARD"});
    std::string why;
    for (int number = 0; number < GBE_BOARDS; ++number) {
        BoardHandle* handle = nullptr;
        if (Gbe_initBoard(number, 0, &handle) != 0) {
            why = number == 0 ? Gbe_getLastErrorDetail() : why;
            continue;
        }
        const Board board(handle, &Gbe_freeBoard);
        std::vector<std::string> row{std::to_string(number)};
        QJsonArray links;
        for (unsigned port = 0; withLinks && port < GBE_PORTS; ++port) {
            row.push_back(linkText(number, port));
            links.append(QString::fromStdString(row.back()));
        }
        table.add(row);
        array.append(
            withLinks ? QJsonObject{{"board", number}, {"links", links}} : QJsonObject{{"board", number}});
    }
    if (array.isEmpty()) {
        throw boardFailure("boards", 0, GBE_ERROR_BOARD_INITIALIZATION, why);
    }
    json ? print(QJsonDocument(array)) : table.print();
}

Run define(CLI::App& command, Context& context) {
    const auto noLinks = std::make_shared<bool>();
    command.add_flag("--no-links", *noLinks, "Does not look at the links, which takes 0.3 s each");
    addJson(command, context);
    return [=, &context] {
        showBoards(!*noLinks, context.json);
        return ExitStatus::Success;
    };
}

constexpr Example kExamples[] = {
    {"gbe boards", "which boards are there, and where a cable is plugged in"},
    {"gbe boards --no-links", "the same at once, without the links"},
};

} // namespace

extern const Verb kBoardsVerb{
    "boards", Group::Cameras, "Lists the boards and their links", &define, kExamples};

} // namespace gbe
