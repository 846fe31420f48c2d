// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zqtest
{
/// An element of an XML document of elements, attributes and text.
struct XmlElement
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes; ///< in document order
    std::vector<XmlElement> children;
    std::string text; ///< without the white space around it

    /// Its value, or nothing when there is no such attribute.
    std::string attribute(const std::string& which) const
    {
        for (const auto& [attribute_name, value] : attributes)
            if (attribute_name == which)
                return value;
        return {};
    }
};

/// Reads what a program printed: no comments, CDATA or document types. Throws std::runtime_error otherwise.
class XmlReader
{
public:
    explicit XmlReader(std::string document) : m_document(std::move(document)) {}

    XmlElement root()
    {
        m_at = m_document.find("?>");
        m_at = m_at == std::string::npos ? 0 : m_at + 2;
        static_cast<void>(text());
        return element();
    }

private:
    bool skip(const std::string& token)
    {
        if (m_document.compare(m_at, token.size(), token) != 0)
            return false;
        m_at += token.size();
        return true;
    }

    void expect(const std::string& token)
    {
        if (!skip(token))
            throw std::runtime_error("XML: no " + token + " at " + std::to_string(m_at));
    }

    std::string until(const char* ends)
    {
        const std::size_t end = m_document.find_first_of(ends, m_at);
        if (end == std::string::npos)
            throw std::runtime_error("XML: ends early");
        const std::size_t begin = std::exchange(m_at, end);
        return m_document.substr(begin, end - begin);
    }

    static std::string unescaped(const std::string& escaped)
    {
        static const std::vector<std::pair<std::string, std::string>> entities{
            {"&amp;", "&"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}};
        std::string plain;
        for (std::size_t at = 0; at < escaped.size(); ++at) {
            bool known = escaped[at] != '&';
            if (known)
                plain += escaped[at];
            for (const auto& [entity, letter] : entities)
                if (!known && escaped.compare(at, entity.size(), entity) == 0) {
                    plain += letter;
                    at += entity.size() - 1;
                    known = true;
                }
            if (!known)
                throw std::runtime_error("XML: entity at " + escaped.substr(at, 10));
        }
        return plain;
    }

    std::string text()
    {
        const std::string all = m_document.substr(m_at, m_document.find('<', m_at) - m_at);
        m_at += all.size();
        const std::size_t first = all.find_first_not_of(" \t\r\n");
        if (first == std::string::npos)
            return {};
        return unescaped(all.substr(first, all.find_last_not_of(" \t\r\n") - first + 1));
    }

    void space() { m_at = m_document.find_first_not_of(" \t\r\n", m_at); }

    XmlElement element()
    {
        XmlElement element;
        expect("<");
        element.name = until(" \t\r\n/>");
        for (space(); !skip("/>"); space()) {
            if (skip(">")) {
                read_content(element);
                return element;
            }
            std::string name = until("=");
            expect("=\"");
            element.attributes.emplace_back(std::move(name), unescaped(until("\"")));
            expect("\"");
        }
        return element;
    }

    void read_content(XmlElement& element)
    {
        for (;;) {
            element.text += text();
            if (skip("</" + element.name + ">"))
                return;
            element.children.push_back(XmlReader::element());
        }
    }

    const std::string m_document;
    std::size_t m_at = 0;
};
} // namespace zqtest
