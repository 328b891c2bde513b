# Series 3 with the contact station: a 19-character firmware text, so the other layout applies: letter 6 'E' (contact station), letter 7 'M' (encoder).
model = VKTS3C
firmware = VKTS3CEM V1.02.0345
serial = S3C000001
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 62
ribbon_remaining = 150
ribbon_capacity = 250
encoder = yes
