// Answers to the questions of the program, laid down by a test beforehand.
#pragma once

#include "App/Shell/Dialogs.h"

#include <deque>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace ombrel {

/// Answers at once what was laid down; a question without an answer fails the test.
class LaidDownAnswers final : public Dialogs {
public:
    std::deque<SaveAnswer> saves;
    std::deque<bool> confirmations;
    std::deque<std::vector<Path>> opened;
    std::deque<std::optional<Path>> places;
    std::vector<std::string> failures; ///< "TITLE TEXT"
    std::vector<std::string> asked;    ///< names of documents
    std::vector<Path> proposed;

    void askToSave(QWidget*, const std::string& name,
                   std::function<void(SaveAnswer)> answer) override {
        asked.push_back(name);
        answer(take(saves, "to save " + name).value_or(SaveAnswer::cancel));
    }
    void confirm(QWidget*, const Confirmation& question,
                 std::function<void(bool)> answer) override {
        answer(take(confirmations, question.title).value_or(false));
    }
    bool confirmNow(QWidget*, const Confirmation& question) override {
        return take(confirmations, question.title).value_or(false);
    }
    void tellFailure(QWidget*, const std::string& title, const std::string& text) override {
        failures.push_back(title + " " + text);
    }
    void chooseFilesToOpen(QWidget*, const Path&,
                           std::function<void(std::vector<Path>)> answer) override {
        answer(take(opened, "which files to open").value_or(std::vector<Path>{}));
    }
    void choosePlace(QWidget*, const SavePlace& place,
                     std::function<void(std::optional<Path>)> answer) override {
        proposed.push_back(place.proposed);
        answer(take(places, "where to save").value_or(std::nullopt));
    }

private:
    template <typename T>
    static std::optional<T> take(std::deque<T>& answers, const std::string& question) {
        if (answers.empty()) {
            ADD_FAILURE() << "nobody said what to answer to: " << question;
            return std::nullopt;
        }
        T answer = std::move(answers.front());
        answers.pop_front();
        return answer;
    }
};

} // namespace ombrel
