#!/usr/bin/python
# -*- coding: utf-8 -*-
# Copyright: Corvane developers
# GNU General Public License v3.0+ (see COPYING or https://www.gnu.org/licenses/gpl-3.0.txt)
"""Korvel's settings as facts, for reports across a fleet; read-only."""
from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: info
short_description: Read Korvel's settings through corvanectl, as facts
version_added: "5.4.0"
description:
  - Reads every setting a save writes, with C(corvanectl dump --json), and the history generations the last
    saves kept, with C(corvanectl history --json), and returns them, also as the fact C(korvel).
  - Secrets (passwords, their digests, SNMP communities) are C(********) unless C(show_secrets) is true.
  - Never changes anything and takes no lock.
extends_documentation_fragment:
  - korvel.corvane.corvanectl
  - korvel.corvane.corvanectl.read_only
options:
  show_secrets:
    description:
      - Return the secrets as they are. Allowed only on a task with C(no_log=true), so that they reach the
        registered result and not the output.
    type: bool
    default: false
attributes:
  facts:
    support: full
    description: Sets the fact C(korvel) to the returned C(settings) and C(generations).
author:
  - Corvane developers (@corvane)
notes:
  - Needs only read access to the Korvel directory.
'''

EXAMPLES = r'''
- name: Every host's settings
  korvel.corvane.info:
    path: /opt/korvel

- name: Which hosts still use the default port
  ansible.builtin.debug:
    msg: "{{ inventory_hostname }}"
  when: korvel.settings['korvel.ini'].Network.Port == 2160
'''

RETURN = r'''
settings:
  description: Every setting a save writes, in the shape of C(corvanectl dump --json) - file, section, key, value.
  returned: always
  type: dict
  sample: {"korvel.ini": {"System": {"Name": "Plant B"}, "Network": {"Port": 3052}}}
generations:
  description: The history generations the last saves kept, oldest first.
  returned: always
  type: list
  elements: dict
  sample: [{"generation": 12, "time": "2026-11-24T09:30:00Z", "program": "corvanectl", "user": "root", "keys": ["System.Name"]}]
ansible_facts:
  description: The same, as the fact C(korvel).
  returned: always
  type: dict
  contains:
    korvel:
      description: C(settings) and C(generations), as returned.
      returned: always
      type: dict
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.korvel.corvane.plugins.module_utils.corvanectl import run_json


def main():
    module = AnsibleModule(
        argument_spec=dict(
            path=dict(type='path', required=True),
            corvanectl=dict(type='path'),
            show_secrets=dict(type='bool', default=False),
        ),
        supports_check_mode=True,
    )
    if module.params['show_secrets'] and not module.no_log:
        module.fail_json(msg='show_secrets needs no_log: true on the task, or the secrets would show in its output')
    settings = run_json(module, ['dump', '--json'] + (['--show-secrets'] if module.params['show_secrets'] else []))
    generations = run_json(module, ['history', '--json'])
    module.exit_json(changed=False, settings=settings, generations=generations,
                     ansible_facts=dict(korvel=dict(settings=settings, generations=generations)))


if __name__ == '__main__':
    main()
