#pragma once

#include <string>
#include <vector>

namespace un {

// Splits a text at any of a set of separator characters. Runs of separators,
// and separators at either end, yield no empty tokens.
class tokenizer {
public:
    tokenizer(std::string text, std::string separators)
        : text_(std::move(text)), separators_(std::move(separators)), position_(0) {}

    // Stores the next token and answers true, or answers false when none is left.
    bool next(std::string& token) {
        position_ = text_.find_first_not_of(separators_, position_);
        if (position_ == std::string::npos) return false;
        std::string::size_type stop = text_.find_first_of(separators_, position_);
        if (stop == std::string::npos) stop = text_.size();
        token.assign(text_, position_, stop - position_);
        position_ = stop;
        return true;
    }

    std::vector<std::string> all() {
        std::vector<std::string> tokens;
        std::string token;
        while (next(token)) tokens.push_back(token);
        return tokens;
    }

private:
    std::string text_;
    std::string separators_;
    std::string::size_type position_;
};

} // namespace un
