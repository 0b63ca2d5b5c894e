#include "Core/Stored/BoardForms.h"

namespace ombrel::Stored {

namespace {

using Rows = std::array<std::array<double, 3>, 3>;

Result<std::array<double, 9>> decodeMatrix(const Json& json) {
    const bool isNested = json.is_array() && !json.empty() && json.front().is_array();
    if (!isNested) return Stored::decode<std::array<double, 9>>(json);
    const Result<Rows> rows = Stored::decode<Rows>(json);
    if (!rows) return std::unexpected(rows.error());
    std::array<double, 9> matrix{};
    for (std::size_t i = 0; i < matrix.size(); ++i)
        matrix[i] = (*rows)[i / 3][i % 3];
    return matrix;
}

} // namespace

Json Form<Homography>::encode(const Homography& homography) {
    Json json = Json::object();
    json["matrix"] = Stored::encode(homography.matrix);
    return json;
}

Result<Homography> Form<Homography>::decode(const Json& json) {
    if (!json.is_object()) return expected("an object");
    const auto found = json.find("matrix");
    if (found == json.end())
        return std::unexpected(fault("a value is missing").error().inField("matrix"));
    Result<std::array<double, 9>> matrix = decodeMatrix(*found);
    if (!matrix) return std::unexpected(std::move(matrix.error()).inField("matrix"));
    return Homography{*matrix};
}

} // namespace ombrel::Stored
