#pragma once

#include <list>
#include <map>
#include <set>
#include <vector>

/// The containers that the library's interface speaks of.
namespace qs {

using std::list;
using std::map;
using std::set;
using std::vector;

}  // namespace qs
