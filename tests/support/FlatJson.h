// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cctype>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

namespace zqtest
{
/// The values of nested JSON objects of strings and numbers, each under its path: {"a": {"b": 1}} gives "a/b" = "1".
class FlatJson
{
public:
    using values = std::map<std::string, std::string>;

    /// Throws std::runtime_error for anything else.
    static values parse(const std::string& text)
    {
        FlatJson json(text);
        json.object("");
        return std::move(json.values_);
    }

private:
    explicit FlatJson(const std::string& text) : text_(text) {}

    void object(const std::string& path)
    {
        expect('{');
        if (accept('}'))
            return;
        do {
            const std::string name = path.empty() ? quoted() : path + "/" + quoted();
            expect(':');
            if (peek() == '{')
                object(name);
            else
                values_[name] = peek() == '"' ? quoted() : number();
        } while (accept(','));
        expect('}');
    }

    std::string quoted()
    {
        expect('"');
        const auto end = text_.find('"', at_);
        if (end == std::string::npos)
            throw std::runtime_error("string without end");
        const std::string value = text_.substr(at_, end - at_);
        at_ = end + 1;
        return value;
    }

    std::string number()
    {
        const auto begin = at_;
        while (at_ < text_.size() && (std::isdigit(static_cast<unsigned char>(text_[at_])) != 0 || text_[at_] == '-'))
            ++at_;
        if (at_ == begin)
            throw std::runtime_error("no value at " + std::to_string(at_));
        return text_.substr(begin, at_ - begin);
    }

    char peek()
    {
        while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_])) != 0)
            ++at_;
        return at_ < text_.size() ? text_[at_] : '\0';
    }

    bool accept(char wanted)
    {
        if (peek() != wanted)
            return false;
        ++at_;
        return true;
    }

    void expect(char wanted)
    {
        if (!accept(wanted))
            throw std::runtime_error(std::string("no ") + wanted + " at " + std::to_string(at_));
    }

    const std::string& text_;
    std::size_t at_ = 0;
    values values_;
};
} // namespace zqtest
