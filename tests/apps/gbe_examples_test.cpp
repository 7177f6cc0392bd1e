// Every example of gbe's help, run as it is printed: with a real gbe-service and the default board in
// software.
#include "process.h"

#include <gtest/gtest.h>

#include <QtCore/QRegularExpression>

#include <map>
#include <memory>
#include <vector>

namespace {

class Examples : public test::WithService {};

// What matches in the lines of a program's output, in their order.
QStringList linesOf(const QStringList& arguments, const char* pattern) {
    const test::Outcome outcome = test::Program::run(GBE, arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    QStringList found;
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    for (auto match = expression.globalMatch(outcome.out.c_str()); match.hasNext();) {
        found.append(match.next().captured(1));
    }
    return found;
}

TEST_F(Examples, OfEachVerbRunAsPrinted) {
    const QStringList verbs = linesOf({"--help"}, "^  ([a-z]+(?: [a-z]+)?)  ");
    ASSERT_GE(verbs.size(), 17);
    const QString path = QString("PATH=%1:$PATH\nset -ex\n").arg(QFileInfo(GBE).path());
    constexpr int kAtOnce = 4;
    for (int first = 0; first < verbs.size(); first += kAtOnce) {
        std::map<QString, std::unique_ptr<test::Program>> programs;
        for (const QString& verb : verbs.mid(first, kAtOnce)) {
            const QStringList examples = linesOf(QStringList{"help"} + verb.split(' '), "^  (gbe .*)$");
            EXPECT_FALSE(examples.isEmpty()) << verb.toStdString();
            programs[verb] =
                std::make_unique<test::Program>("/bin/bash", QStringList{"-c", path + examples.join('\n')});
        }
        for (const auto& [verb, program] : programs) {
            const test::Outcome outcome = program->wait();
            EXPECT_EQ(outcome.status, 0) << verb.toStdString() << ":\n" << outcome.err << outcome.out;
        }
    }
}

} // namespace
