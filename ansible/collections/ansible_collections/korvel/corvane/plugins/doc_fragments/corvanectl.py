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
