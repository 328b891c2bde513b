# Series 32 with the contact station: 20-character firmware, letter 5 'E', letter 6 'M'.
model = VKTS32
firmware = VKT32EM V1.02.03.016
serial = S32000002
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 43
ribbon_remaining = 120
ribbon_capacity = 200
encoder = yes
