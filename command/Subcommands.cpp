#include "Subcommands.h"

#include <Escape.h>
#include <json/reader.h>
#include <json/writer.h>

#include "Text.h"

Answer Plain(bool done, const std::string& text, const std::string& refusal) {
    Answer answer;
    answer.done = done;
    answer.json["result"] = done;
    answer.text = text;
    answer.refusal = refusal;
    return answer;
}

Answer Local(bool done, const std::string& text, const std::string& refusal) {
    Answer answer = Plain(done, text, refusal);
    answer.needsService = false;
    return answer;
}

std::string JsonLine(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    std::string line = ValidUtf8(Json::writeString(writer, value));
    // The writer escapes ASCII's control characters but this one, for which Escaped() has no JSON.
    for (std::size_t at = 0; (at = line.find('\x7f', at)) != std::string::npos;) {
        line.replace(at, 1, "\\u007f");
    }
    return Escaped(line);
}

bool ReadJson(const std::string& text, Json::Value& value) {
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        return reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
    } catch (const Json::Exception&) {  // nested too deeply
        return false;
    }
}

Command Subcommands::operator()(const std::string& name, const std::string& help,
                                const Action& action,
                                const std::vector<Argument>& arguments) const {
    Command added =
        command.AddSubcommand(name, help, [&chosen = chosen, action] { chosen = action; });
    added.Add(arguments);
    return added;
}

Argument Id(Options& given) {
    return {"ID", &given.id, "The term's id", kRequired};
}

Argument Product(Options& given) {
    return {"--product", &given.product, "The product type; TV is the set itself"};
}

Argument Requester(Options& given) {
    return {"--requester", &given.requester, "Who asks", kOptional, InRange(0, 4)};
}
