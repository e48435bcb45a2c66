# -*- coding: utf-8 -*-
# Copyright: Corvane developers
# GNU General Public License v3.0+ (see COPYING or https://www.gnu.org/licenses/gpl-3.0.txt)
"""The options every module of this collection shares: where the Korvel directory is and which corvanectl to run there."""
from __future__ import absolute_import, division, print_function
__metaclass__ = type


class ModuleDocFragment(object):
    DOCUMENTATION = r'''
options:
  path:
    description: The Korvel directory, which holds C(korvel.ini).
    type: path
    required: true
  corvanectl:
    description: The corvanectl program to run; by default the one in C(path), else the one on C(PATH).
    type: path
'''

    # The modules that only read: korvel.corvane.corvanectl.read_only.
    READ_ONLY = r'''
attributes:
  check_mode:
    support: full
    description: The same as without check mode, since it writes nothing.
  diff_mode:
    support: none
    description: It changes nothing, so there is nothing to show.
requirements:
  - corvanectl on the managed host, in C(path), on C(PATH) or named by C(corvanectl).
'''
