// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/OwnDescriptors.h"

#include "mpegcore/typed_descriptor.h"

// Here once; where they are used the operations of all classes that are used there would come with them.
template class mpegcore::typed_descriptor<zqtest::Wide, 0xF7>;
template class mpegcore::typed_descriptor<zqtest::Repeating, 0xF7>;
template class mpegcore::typed_descriptor<zqtest::Nesting, 0xF7>;
