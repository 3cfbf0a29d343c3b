#include "zix/smooth_normals.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>

#include "zix/same_place.h"

namespace Orb::Zix {

using format::kNone;

namespace {

using Direction = std::array<double, 3>;

double product(const Direction& a, const Direction& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

void addScaled(Direction& sum, const Direction& added, double factor) {
  for (std::size_t k = 0; k < 3; ++k) sum[k] += factor * added[k];
}

// Of length 1; false where there is no direction.
bool normalize(Direction& v) {
  const double length = std::sqrt(product(v, v));
  if (!(length > 0) || !std::isfinite(length)) return false;
  for (double& value : v) value /= length;
  return true;
}

std::array<float, 3> floatsOf(const Direction& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

// Sets that grow together; each is named by its lowest member.
std::uint32_t setOf(std::vector<std::uint32_t>& parents, std::uint32_t member) {
  while (parents[member] != member) {
    parents[member] = parents[parents[member]];
    member = parents[member];
  }
  return member;
}

void unite(std::vector<std::uint32_t>& parents, std::uint32_t a, std::uint32_t b) {
  a = setOf(parents, a);
  b = setOf(parents, b);
  parents[std::max(a, b)] = std::min(a, b);
}

class Smoother {
 public:
  explicit Smoother(const MeshArrays& mesh) : mesh_(mesh) {
    readFaces();
    sortCornersByPlace();
  }

  SmoothMesh make() {
    region_.resize(faceCount());
    std::iota(region_.begin(), region_.end(), 0U);
    constexpr double kFlat = 0.99996;  // cosine of half a degree
    forEachPlace([&](std::uint32_t, std::span<const std::uint32_t> corners) {
      forEachMeeting(corners, [&](std::uint32_t a, std::uint32_t b) {
        const std::uint32_t first = corners[a] / 3;
        const std::uint32_t second = corners[b] / 3;
        if (along(first, second) > kFlat) unite(region_, first, second);
      });
    });
    region_area_.assign(faceCount(), 0);
    for (std::uint32_t face = 0; face < faceCount(); ++face)
      region_area_[setOf(region_, face)] += faces_[face].area;

    result_.corners.assign(places_.size(), kNone);
    forEachPlace([&](std::uint32_t place, std::span<const std::uint32_t> corners) { join(place, corners); });
    numberByUse();
    return std::move(result_);
  }

 private:
  struct Face {
    std::array<float, 3> normal;  // of length 1; 0 without area
    float area;                   // twice of it
  };

  [[nodiscard]] std::uint32_t faceCount() const { return static_cast<std::uint32_t>(faces_.size()); }
  [[nodiscard]] Direction normalOf(std::uint32_t face) const {
    const auto& n = faces_[face].normal;
    return {static_cast<double>(n[0]), static_cast<double>(n[1]), static_cast<double>(n[2])};
  }
  // Cosine of the angle between two faces.
  [[nodiscard]] double along(std::uint32_t a, std::uint32_t b) const {
    return product(normalOf(a), normalOf(b));
  }

  void readFaces() {
    std::vector<std::array<float, 3>> points(mesh_.pointCount());
    for (std::size_t i = 0; i < points.size(); ++i) {
      points[i] = mesh_.point(i);
      if (!std::isfinite(points[i][0]) || !std::isfinite(points[i][1]) || !std::isfinite(points[i][2]))
        points[i][0] = std::numeric_limits<float>::quiet_NaN();
    }
    const auto first = firstAtSamePlace(points);
    forEachElement(mesh_, [&](std::span<const std::uint32_t> t) {
      for (const std::uint32_t point : t) {
        if (std::isnan(points[point][0])) return;
      }
      if (places_.size() > kNone - 3) throw std::length_error("a mesh has too many triangles");
      for (const std::uint32_t point : t) places_.push_back(first[point]);
      faces_.push_back(faceOf(points[t[0]], points[t[1]], points[t[2]]));
    });
  }

  static Face faceOf(const std::array<float, 3>& a, const std::array<float, 3>& b,
                     const std::array<float, 3>& c) {
    Direction u;
    Direction v;
    for (std::size_t k = 0; k < 3; ++k) {
      u[k] = static_cast<double>(b[k]) - static_cast<double>(a[k]);
      v[k] = static_cast<double>(c[k]) - static_cast<double>(a[k]);
    }
    Direction n = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    const double area = std::sqrt(product(n, n));
    if (!normalize(n)) return {};
    return {floatsOf(n), static_cast<float>(std::min(area, 1e37))};
  }

  void sortCornersByPlace() {
    begins_.assign(mesh_.pointCount() + 1, 0);
    for (const std::uint32_t place : places_) ++begins_[place + 1];
    std::partial_sum(begins_.begin(), begins_.end(), begins_.begin());
    std::vector<std::size_t> next(begins_.begin(), begins_.end() - 1);
    by_place_.resize(places_.size());
    for (std::uint32_t corner = 0; corner < places_.size(); ++corner)
      by_place_[next[places_[corner]]++] = corner;
  }

  // Calls `visit(place, corners)`; a corner is 3 * face + 0, 1 or 2.
  template <typename Visit>
  void forEachPlace(Visit visit) {
    for (std::uint32_t place = 0; place + 1 < begins_.size(); ++place) {
      const auto corners = std::span<const std::uint32_t>(by_place_).subspan(
          begins_[place], begins_[place + 1] - begins_[place]);
      if (!corners.empty()) visit(place, corners);
    }
  }

  // Calls `meet(a, b)` with the numbers of two corners in `corners` whose faces have an edge in common that
  // starts at their place. Faces without area have none.
  template <typename Meet>
  void forEachMeeting(std::span<const std::uint32_t> corners, Meet meet) {
    spokes_.clear();
    for (std::uint32_t i = 0; i < corners.size(); ++i) {
      const std::uint32_t face = corners[i] / 3;
      if (faces_[face].area == 0) continue;
      for (std::uint32_t k = 1; k < 3; ++k) spokes_.push_back({places_[3 * face + (corners[i] + k) % 3], i});
    }
    std::sort(spokes_.begin(), spokes_.end());
    // Where very many faces meet at one edge, each is compared with the next few only.
    constexpr std::size_t kMost = 8;
    for (std::size_t i = 0; i < spokes_.size(); ++i) {
      for (std::size_t j = i + 1;
           j < std::min(spokes_.size(), i + kMost) && spokes_[j].other == spokes_[i].other; ++j)
        meet(spokes_[i].corner, spokes_[j].corner);
    }
  }

  // Makes the vertices of one place.
  void join(std::uint32_t place, std::span<const std::uint32_t> corners) {
    constexpr double kCrease = 0.7660444431189780;  // cosine of 40 degrees
    joined_.resize(corners.size());
    std::iota(joined_.begin(), joined_.end(), 0U);
    forEachMeeting(corners, [&](std::uint32_t a, std::uint32_t b) {
      if (along(corners[a] / 3, corners[b] / 3) > kCrease) unite(joined_, a, b);
    });
    members_.clear();
    for (std::uint32_t i = 0; i < corners.size(); ++i) {
      if (faces_[corners[i] / 3].area != 0)
        members_.push_back({setOf(joined_, i), setOf(region_, corners[i] / 3), corners[i]});
    }
    std::sort(members_.begin(), members_.end());
    std::uint32_t any = kNone;
    for (std::size_t i = 0; i < members_.size();) {
      std::size_t end = i + 1;
      while (end < members_.size() && members_[end].group == members_[i].group) ++end;
      const std::uint32_t vertex = addVertex(place, std::span<const Member>(members_).subspan(i, end - i));
      if (any == kNone) any = vertex;
      for (; i < end; ++i) result_.corners[members_[i].corner] = vertex;
    }
    for (const std::uint32_t corner : corners) {
      if (faces_[corner / 3].area != 0) continue;
      if (any == kNone) any = addVertex(place, {});
      result_.corners[corner] = any;
    }
  }

  struct Member {
    std::uint32_t group;   // corners that join at the place
    std::uint32_t region;  // faces in one plane
    std::uint32_t corner;
    auto operator<=>(const Member&) const = default;
  };

  // Each region counts once, however many triangles it has at the place.
  std::uint32_t addVertex(std::uint32_t place, std::span<const Member> members) {
    Direction sum{};
    for (std::size_t i = 0; i < members.size();) {
      const std::uint32_t region = members[i].region;
      Direction flat{};
      for (; i < members.size() && members[i].region == region; ++i) {
        const std::uint32_t face = members[i].corner / 3;
        addScaled(flat, normalOf(face), static_cast<double>(faces_[face].area));
      }
      if (normalize(flat)) addScaled(sum, flat, region_area_[region]);
    }
    if (!normalize(sum)) sum = members.empty() ? Direction{0, 0, 1} : normalOf(members[0].corner / 3);
    result_.vertices.push_back({place, floatsOf(sum)});
    return static_cast<std::uint32_t>(result_.vertices.size() - 1);
  }

  void numberByUse() {
    std::vector<std::uint32_t> numbers(result_.vertices.size(), kNone);
    std::vector<SmoothMesh::Vertex> sorted;
    sorted.reserve(result_.vertices.size());
    for (std::uint32_t& corner : result_.corners) {
      std::uint32_t& number = numbers[corner];
      if (number == kNone) {
        number = static_cast<std::uint32_t>(sorted.size());
        sorted.push_back(result_.vertices[corner]);
      }
      corner = number;
    }
    result_.vertices = std::move(sorted);
  }

  const MeshArrays& mesh_;
  std::vector<Face> faces_;
  std::vector<std::uint32_t> places_;    // of each corner: the first point there
  std::vector<std::size_t> begins_;      // of each place's corners in the next
  std::vector<std::uint32_t> by_place_;  // corners
  std::vector<std::uint32_t> region_;    // sets of faces
  std::vector<double> region_area_;
  SmoothMesh result_;

  // Of one place.
  struct Spoke {
    std::uint32_t other;   // place at the other end of an edge
    std::uint32_t corner;  // number among the place's corners
    auto operator<=>(const Spoke&) const = default;
  };
  std::vector<Spoke> spokes_;
  std::vector<std::uint32_t> joined_;
  std::vector<Member> members_;
};

}  // namespace

SmoothMesh smoothMesh(const MeshArrays& mesh) { return Smoother(mesh).make(); }

}  // namespace Orb::Zix
