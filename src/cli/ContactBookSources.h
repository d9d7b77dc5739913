#pragma once

#include "ContactSourceOptions.h"

// The two sources with a fixed field mapping and no map: an address book file (.wab or .vcf)
// and a contact folder of the mail client, given by its name or its identifier ("" for the
// default address book). Both fill the table as the wizard's Next on the first page does; an
// error value (code 2) says why nothing was read.
Result<LoadedContacts> loadAddressBook(const ContactSourceOptions& options, ContactTable& table);
Result<LoadedContacts> loadMailClientFolder(const ContactSourceOptions& options, ContactTable& table);
