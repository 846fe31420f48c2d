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
        return std::move(json.m_values);
    }

private:
    explicit FlatJson(const std::string& text) : m_text(text) {}

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
                m_values[name] = peek() == '"' ? quoted() : number();
        } while (accept(','));
        expect('}');
    }

    std::string quoted()
    {
        expect('"');
        const auto end = m_text.find('"', m_at);
        if (end == std::string::npos)
            throw std::runtime_error("string without end");
        const std::string value = m_text.substr(m_at, end - m_at);
        m_at = end + 1;
        return value;
    }

    std::string number()
    {
        const auto begin = m_at;
        while (m_at < m_text.size() &&
               (std::isdigit(static_cast<unsigned char>(m_text[m_at])) != 0 || m_text[m_at] == '-'))
            ++m_at;
        if (m_at == begin)
            throw std::runtime_error("no value at " + std::to_string(m_at));
        return m_text.substr(begin, m_at - begin);
    }

    char peek()
    {
        while (m_at < m_text.size() && std::isspace(static_cast<unsigned char>(m_text[m_at])) != 0)
            ++m_at;
        return m_at < m_text.size() ? m_text[m_at] : '\0';
    }

    bool accept(char wanted)
    {
        if (peek() != wanted)
            return false;
        ++m_at;
        return true;
    }

    void expect(char wanted)
    {
        if (!accept(wanted))
            throw std::runtime_error(std::string("no ") + wanted + " at " + std::to_string(m_at));
    }

    const std::string& m_text;
    std::size_t m_at = 0;
    values m_values;
};
} // namespace zqtest
