#include "Subcommands.h"

#include <json/reader.h>
#include <json/writer.h>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "Text.h"

Answer Plain(bool done, const std::string& text, const std::string& refusal) {
    Answer answer;
    answer.done = done;
    answer.json["result"] = done;
    answer.text = text;
    answer.refusal = refusal;
    return answer;
}

std::string JsonLine(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    return ValidUtf8(Json::writeString(writer, value));
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

CLI::App* Registrar::Add(const std::string& name, const std::string& help, const Action& action) {
    CLI::App* command = m_app.add_subcommand(name, help);
    command->callback([&chosen = m_chosen, action] { chosen = action; });
    return command;
}

void AddRequired(CLI::App* command, const std::string& name, const std::string& help,
                 const std::shared_ptr<std::string>& value) {
    command->add_option(name, *value, help)->required();
}

void AddProduct(CLI::App* command, const std::shared_ptr<std::string>& product) {
    command->add_option("--product", *product, "The product type; TV is the set itself")
        ->capture_default_str();
}

void AddRequester(CLI::App* command, const std::shared_ptr<int>& requester) {
    command->add_option("--requester", *requester, "Who asks")
        ->check(CLI::Range(0, 4))
        ->capture_default_str();
}
