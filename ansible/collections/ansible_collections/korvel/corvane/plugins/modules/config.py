#!/usr/bin/python
# Korvel's settings through corvanectl: only the keys given are set.
from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: config
short_description: Set Korvel's settings through corvanectl
version_added: "5.3.0"
description:
  - Sets the keys given in a Korvel directory with C(corvanectl apply), which checks every value as the
    editor's screens do before it writes anything and rewrites only the files whose text changes.
  - Reports C(changed) only when a value changes. In check mode it runs C(corvanectl apply --dry-run) and writes
    nothing.
  - Fails with corvanectl's own message (the key, the value and what is allowed) when a value is refused, and
    when a running editor holds the directory.
extends_documentation_fragment:
  - korvel.corvane.corvanectl
options:
  settings:
    description:
      - The keys to set, in the shape of C(corvanectl dump --json) - file name, section, key, value. Texts are
        strings and numbers are numbers. Keys not given are left as they are.
    type: dict
    required: true
attributes:
  check_mode:
    support: full
    description: Runs C(corvanectl apply --dry-run); nothing is written.
  diff_mode:
    support: full
    description: The value of each changed key before and after.
author:
  - Corvane developers
'''

EXAMPLES = r'''
- name: Name the system and set the network port
  korvel.corvane.config:
    path: /opt/korvel
    settings:
      korvel.ini:
        System:
          Name: Plant B
        Network:
          Port: 3052

- name: A job's program, in jobs.ini
  korvel.corvane.config:
    path: /opt/korvel
    settings:
      jobs.ini:
        Job_00:
          Execute: 1
          File: /usr/local/bin/on-power-fail
'''

RETURN = r'''
changed_keys:
  description: The keys whose value changed (or would change, in check mode), as corvanectl names them, and the entries and files added, deleted, renumbered or removed.
  returned: always
  type: list
  elements: str
  sample: ["System.Name", "jobs.ini:Job_00.Execute"]
lines:
  description: What corvanectl printed, one line per changed key, entry or file.
  returned: always
  type: list
  elements: str
  sample: ["System.Name: Plant A -> Plant B"]
'''

import json

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.korvel.corvane.plugins.module_utils.corvanectl import fail, run


def main():
    module = AnsibleModule(
        argument_spec=dict(
            path=dict(type='path', required=True),
            settings=dict(type='dict', required=True),
            corvanectl=dict(type='path'),
        ),
        supports_check_mode=True,
    )
    args = ['apply'] + (['--dry-run'] if module.check_mode else []) + ['-']
    rc, out, err = run(module, args, data=json.dumps(module.params['settings']))
    if rc != 0:
        fail(module, rc, out, err)
    lines = [line for line in out.splitlines() if line]
    keys, before, after = [], {}, {}
    for line in lines:
        # "KEY: old -> new", or what became of an entry or a file ("UPS_03: added").
        key, _, change = line.partition(': ')
        old, arrow, new = change.partition(' -> ')
        keys.append(key)
        before[key], after[key] = (old, new) if arrow else ('', change)
    result = dict(changed=bool(keys), changed_keys=keys, lines=lines)
    if module._diff and keys:
        result['diff'] = dict(before='\n'.join('%s=%s' % (k, before[k]) for k in keys) + '\n',
                              after='\n'.join('%s=%s' % (k, after[k]) for k in keys) + '\n',
                              before_header=module.params['path'], after_header=module.params['path'])
    module.exit_json(**result)


if __name__ == '__main__':
    main()
