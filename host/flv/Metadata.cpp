// SPDX-License-Identifier: Apache-2.0
#include "flv/Metadata.h"

#include <utility>

namespace orvel {
namespace {

constexpr char kMetadataName[] = "onMetaData", kSetDataFrame[] = "@setDataFrame";

// As the plug-in has it: a name counts wherever in the tree it stands, and in an array for each value.
void Take(const AmfValue& value, const std::string& name, Metadata* metadata) {
    if (value.type == AmfValue::Type::kNumber) {
        if (name == "duration") metadata->durationSeconds = value.number;
        if (name == "filepositions") metadata->positions.push_back(value.number);
        if (name == "times") metadata->times.push_back(value.number);
    }
    if (!value.numbers.empty()) {
        if (name == "duration") metadata->durationSeconds = value.numbers.back();
        auto append = [&value](std::vector<double>* to) {
            to->insert(to->end(), value.numbers.begin(), value.numbers.end());
        };
        if (name == "filepositions") append(&metadata->positions);
        if (name == "times") append(&metadata->times);
    }
    for (const AmfValue& item : value.values)
        Take(item, name, metadata);
    for (const auto& [memberName, member] : value.members)
        Take(member, memberName, metadata);
}

}  // namespace

bool ScriptEvent::isMetadata() const {
    bool isSent = name == kSetDataFrame && !values.empty() && values[0].text == kMetadataName;
    return name == kMetadataName || isSent;
}

ScriptEvent ReadScript(TagChain& chain, const TagUnit& unit) {
    ScriptEvent event;
    event.values = ParseAmf(chain.bytes(unit.dataOffset(), unit.dataSize), &event.error);
    event.offset = unit.offset();
    event.timeMs = unit.timestampMs;
    event.bytes = unit.dataSize;
    if (event.values.empty() || event.values[0].type != AmfValue::Type::kString) return event;
    event.name = event.values[0].text;
    event.values.erase(event.values.begin());
    return event;
}

std::optional<Metadata> ReadMetadata(const ScriptEvent& event) {
    if (event.name != kMetadataName) return std::nullopt;
    Metadata metadata;
    metadata.error = event.error;
    if (!event.values.empty()) metadata.properties = event.values[0];
    Take(metadata.properties, "", &metadata);
    return metadata;
}

std::optional<double> Metadata::findNumber(const std::string& name) const {
    const AmfValue* value = properties.find(name);
    if (value == nullptr || value->type != AmfValue::Type::kNumber) return std::nullopt;
    return value->number;
}

std::string Metadata::findText(const std::string& name) const {
    const AmfValue* value = properties.find(name);
    return value != nullptr && value->type == AmfValue::Type::kString ? value->text : "";
}

}  // namespace orvel
