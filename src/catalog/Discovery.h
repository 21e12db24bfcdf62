// Lists for pick lists: the servers of the network, the databases of a server. Not installed:
// Utils is their public face.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/LoginData.h"
#include "catalog/ServerBrowser.h"
#include "core/BoundedArray.h"

namespace QuillonLib {

// "HOST" or "HOST\INSTANCE", from 1; nothing when no server answered. Error 0x80004005 when the
// network, or a part of it, cannot be asked and nobody answers.
std::optional<TextArray> ListAvailableServers(const BrowserSettings& settings);

// The login to a server for its list of databases: an integrated one when there is no user, and
// then without the password.
LoginData DiscoveryLogin(std::u16string_view sServer, std::u16string_view sUser,
                         std::u16string_view sPassword);

// The databases of a server in name order, from 1; nothing when there is none. Throws the Error of
// the login or of the query.
std::optional<TextArray> ListAvailableDatabases(std::u16string_view sServer,
                                                std::u16string_view sUser,
                                                std::u16string_view sPassword);

// How both make their result: the names from 1, or nothing. Error 6 for more than 32,767.
std::optional<TextArray> ToNameArray(std::vector<std::u16string> names);

// Item 0 to item `count` of a list from 0, one more than it is long: an item beyond the end is an
// empty name. Empty names are passed over.
std::vector<std::u16string> NonEmptyNames(const std::vector<std::u16string>& list);

}  // namespace QuillonLib
