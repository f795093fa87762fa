#include "tools/gallery/page.h"

#include "tools/gallery/lines.h"
#include "tools/gallery/page_files.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fmt/format.h>

namespace tools::gallery {
namespace {

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text)
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    return escaped;
}

std::string Base64(const Bytes &bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(bytes.size() / 3 * 4 + 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        const std::size_t held = std::min<std::size_t>(3, bytes.size() - at);
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < held ? bytes[at + i] : 0U);
        for (std::size_t digit = 0; digit < 4; ++digit)
            text += digit <= held ? kDigits[group >> (18 - 6 * digit) & 63] : '=';
    }
    return text;
}

/// The picture as a data address. Drawn pictures are small without loss; photos are not.
std::string AddressOf(const Image &image) {
    std::size_t repeated = 0;
    for (std::size_t at = 4; at < image.pixels.size(); at += 4)
        if (std::memcmp(&image.pixels[at], &image.pixels[at - 4], 4) == 0)
            ++repeated;
    const bool drawn = repeated > image.pixels.size() / 4 * 4 / 5;
    const bool exact = image.hasAlpha || drawn;
    return fmt::format("data:image/{};base64,{}", exact ? "png" : "jpeg",
                       Base64(FileOf(exact ? "a.png" : "a.jpg", image)));
}

std::string Frames(const Exhibit &exhibit) {
    if (exhibit.frames.empty())
        return {};
    std::string frames;
    for (const Frame &frame : exhibit.frames)
        for (int stroke = 0; stroke < 2; ++stroke) // a wide bright one below a narrow one: seen on any ground
            frames += fmt::format(R"(<rect x="{}" y="{}" width="{}" height="{}"/>)", frame.left, frame.top, frame.width,
                                  frame.height);
    return fmt::format(
        R"(<svg class="frames" viewBox="0 0 {} {}" preserveAspectRatio="none" aria-hidden="true">{}</svg>)",
        exhibit.before->width, exhibit.before->height, frames);
}

std::string Figure(const Chart &chart) {
    return fmt::format("<figure>{}<figcaption>{}</figcaption></figure>\n", chart.svg, Escaped(chart.caption));
}

/// Lines break between words, but not inside what looks like an option.
std::string Code(std::string_view text) {
    std::string code = Escaped(text);
    for (std::size_t at = 0; (at = code.find(" -", at)) != code.npos;) {
        const std::size_t end = std::min(code.find_first_of(" \n", at + 1), code.size());
        const std::string option = fmt::format("<span class=\"option\">{}</span>", code.substr(at + 1, end - at - 1));
        code.replace(at + 1, end - at - 1, option);
        at += option.size();
    }
    return code;
}

/// A name that may be broken where a new word starts in it.
std::string Breakable(std::string_view name) {
    std::string breakable;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (i > 0 && std::isupper(static_cast<unsigned char>(name[i])) &&
            std::islower(static_cast<unsigned char>(name[i - 1])))
            breakable += "<wbr>";
        breakable += name[i];
    }
    return breakable;
}

std::string Line(std::string_view kind, std::string_view text) {
    if (text.empty())
        return {};
    return fmt::format("<div class=\"line\"><span class=\"kind\">{0}</span><pre><code>{1}</code></pre>"
                       "<button type=\"button\" class=\"copy\" aria-label=\"Copy for the {0}\">Copy</button></div>\n",
                       kind, Code(text));
}

} // namespace

void Page::AddChapter(std::string_view heading) {
    ++chapters_;
    contents_ +=
        fmt::format("{}<li class=\"chapter\"><a href=\"#chapter-{}\">{}</a></li>\n", "", chapters_, Escaped(heading));
    entries_ += fmt::format("<h2 id=\"chapter-{}\">{}</h2>\n", chapters_, Escaped(heading));
}

std::string Page::Picture(const Image &image, std::string_view description) {
    const auto place = pictures_.emplace(AddressOf(image), pictures_.size()).first;
    return fmt::format(R"(<img data-picture="{}" width="{}" height="{}" alt="{}"{}>)", place->second, image.width,
                       image.height, Escaped(description), image.hasAlpha ? " class=\"checkered\"" : "");
}

std::string Page::Compared(const Entry &entry, const Exhibit &exhibit) {
    return fmt::format(
        "<div class=\"compare\">\n<div class=\"layer\">{0}<span class=\"tag\">after</span></div>\n"
        "<div class=\"layer before\">{1}<span class=\"tag\">before</span></div>\n{2}\n"
        "<div class=\"divider\" role=\"slider\" tabindex=\"0\" aria-label=\"{3}: divider between before and after\" "
        "aria-valuemin=\"0\" aria-valuemax=\"100\" aria-valuenow=\"50\"></div>\n</div>\n",
        Picture(*exhibit.after, fmt::format("after {}", entry.method)),
        Picture(*exhibit.before, fmt::format("before {}", entry.method)), Frames(exhibit), Escaped(entry.method));
}

/// The pictures of an exhibit, and the samples above.
std::string Page::Shown(const Entry &entry, const Exhibit &exhibit) {
    std::string shown;
    if (exhibit.samples)
        shown += Figure(*exhibit.samples);
    const auto &before = exhibit.before;
    const auto &after = exhibit.after;
    if (before && after && before->width == after->width && before->height == after->height)
        return shown + Compared(entry, exhibit);
    if (before || after)
        shown += fmt::format(
            "<div class=\"single\">{}{}</div>\n",
            Picture(after ? *after : *before, fmt::format("{} {}", after ? "after" : "seen by", entry.method)),
            before ? Frames(exhibit) : "");
    return shown;
}

std::string Page::Article(const Entry &entry, const Shot &shot, const Exhibit &exhibit) {
    std::string html = fmt::format("<article class=\"shot{}\">\n", exhibit.samples ? " wide" : "");
    html += Shown(entry, exhibit);
    html += fmt::format("<p class=\"note\">{}</p>\n", Escaped(shot.note));
    if (!exhibit.failure.empty())
        html += fmt::format("<p class=\"failure\" role=\"alert\">{}</p>\n", Escaped(exhibit.failure));
    if (!exhibit.facts.empty()) {
        html += "<dl class=\"facts\">";
        for (const auto &[name, value] : exhibit.facts)
            html += fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", Escaped(name), Escaped(value));
        html += "</dl>\n";
    }
    if (!exhibit.bytes.empty())
        html += fmt::format("<pre class=\"bytes\" tabindex=\"0\" aria-label=\"the first bytes\">{}</pre>\n",
                            Escaped(exhibit.bytes));
    if (!exhibit.charts.empty() || !exhibit.others.empty()) {
        html += "<div class=\"beside\">\n";
        for (const Chart &chart : exhibit.charts)
            html += Figure(chart);
        for (const Material &other : exhibit.others)
            html += fmt::format("<figure>{}<figcaption>{}</figcaption></figure>\n", Picture(other.image, other.name),
                                Escaped(other.name));
        html += "</div>\n";
    }
    html += Line("script", exhibit.script) + Line("shell", exhibit.command);
    if (exhibit.time.count() > 0)
        html += fmt::format("<p class=\"time\"><b>{:.3f} ms</b> {:.2f} × memcpy, {}</p>\n", exhibit.time.count(),
                            exhibit.ratio, LevelName(exhibit.level));
    return html + "</article>\n";
}

void Page::AddEntry(const Entry &entry, const std::vector<Exhibit> &exhibits) {
    contents_ += fmt::format("<li><a href=\"#{}\">{}</a></li>\n", entry.method, Breakable(entry.method));
    entries_ +=
        fmt::format("<section class=\"entry\" id=\"{0}\" aria-labelledby=\"{0}-heading\">\n"
                    "<header><h3 id=\"{0}-heading\">{1}</h3><code class=\"name\">{3}</code><p>{2}</p></header>\n"
                    "<div class=\"shots\">\n",
                    entry.method, Escaped(entry.heading), Escaped(entry.promise), Breakable(entry.method));
    for (std::size_t i = 0; i < exhibits.size(); ++i)
        entries_ += Article(entry, entry.shots[i], exhibits[i]);
    entries_ += "</div>\n</section>\n";
}

std::string Page::Html(const std::vector<std::pair<std::string, std::string>> &facts) const {
    std::string summary;
    for (const auto &[name, value] : facts)
        summary += fmt::format("<div><dt>{}</dt><dd>{}</dd></div>\n", Escaped(name), Escaped(value));
    std::vector<std::string> addresses(pictures_.size());
    for (const auto &[address, number] : pictures_)
        addresses[number] = fmt::format("\"{}\"", address);

    const auto part = [&](std::string_view name) -> std::string {
        if (name == "style")
            return std::string(kPageStyle);
        if (name == "script")
            return std::string(kPageScript);
        if (name == "facts")
            return summary;
        if (name == "contents")
            return contents_;
        if (name == "entries")
            return entries_;
        return fmt::format("[{}]", fmt::join(addresses, ",\n"));
    };
    std::string html;
    std::string_view rest = kPageTemplate;
    for (std::size_t mark; (mark = rest.find("<!--")) != rest.npos;) { // each comment names what takes its place
        const std::size_t end = rest.find("-->", mark);
        html += rest.substr(0, mark);
        html += part(rest.substr(mark + 4, end - mark - 4));
        rest.remove_prefix(end + 3);
    }
    return html.append(rest);
}

} // namespace tools::gallery
